#!/bin/bash
# debian_package.sh PROJECT BUILD WORK   makes the Debian package, and in a sandbox installs, uses and removes it
set -euo pipefail
project=$1 build=$2 work=$3

fail() {
    echo "debian_package: $*"
    exit 1
}
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; fail "failed: $*"; }; }

# Each library that the package's programs ask for is its own or comes with a package that it depends on.
check_dependencies() {
    local depends library owners
    depends=$(dpkg-deb --field "$package" Depends | sed 's/ ([^)]*)//g; s/, */\n/g')
    dpkg --listfiles zpapache | grep -E '/bin/|\.so' | xargs readelf --dynamic |
        sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | sort -u | while read -r library; do
        owners=$(dpkg --search "*/$library" | sed 's/[:,].*//' | sort -u) # those of other architectures among them
        grep -qxF "zpapache"$'\n'"$depends" <<<"$owners" || fail "$library is of" "$owners, not of what the package depends on:" "$depends"
    done
}

get() { curl --silent --noproxy '*' --max-time 5 --header "Host: $1" http://127.0.0.1/; }

# Programs outside the project find the installed library in both ways.
build_against_it() {
    local here flags
    here=$(dirname "$(readlink -f "$0")")
    quietly "$here/use_find_package.sh" /usr "$work/find_package"
    read -ra flags < <(pkg-config --cflags --libs zpapache)
    quietly "${CXX:-c++}" -std=c++17 -o "$work/consumer" "$here/consumer/main.cpp" "${flags[@]}"
    quietly "$work/consumer"
}

use_it() {
    id anna >/dev/null 2>&1 || useradd --no-create-home anna
    mkdir -p /run/apache2
    quietly apachectl -k start
    timeout 10 sh -c 'until [ -s /run/apache2/apache2.pid ]; do sleep 0.1; done'
    quietly zpweb site create shop.example --address 127.0.0.1 --owner anna --path /var/www
    echo "the shop" >/var/www/shop.example/www/html/index.html
    chmod 644 /var/www/shop.example/www/html/index.html
    [ "$(get shop.example)" = "the shop" ] || fail "the site does not answer: $(get shop.example)"
    # shellcheck source=/dev/null
    . /usr/share/bash-completion/completions/zpweb
    # shellcheck disable=SC2034 # bash's own names
    COMP_WORDS=(zpweb site stop sh) COMP_CWORD=3
    _zpweb
    [ "${COMPREPLY[*]}" = shop.example ] || fail "the completion offers: ${COMPREPLY[*]}"
}

if [ "${4-}" != --inside ]; then
    rm -rf "$work"
    mkdir -p "$work"
    quietly cpack --config "$build/CPackConfig.cmake" -B "$work/made"
    exec "$project/scripts/sandbox" "$0" "$@" --inside
fi
package=$(echo "$work"/made/*.deb)
! command -v lintian >/dev/null || quietly lintian --fail-on error --allow-root "$package"
contents=$(dpkg-deb --contents "$package")
for file in usr/bin/zpweb usr/lib/libzpapache.so.1 usr/include/zpapache/CZPWebsite.h usr/share/man/man1/zpweb.1.gz \
    usr/share/bash-completion/completions/zpweb usr/share/doc/zpapache/copyright; do
    grep -q "\./$file\( \|$\)" <<<"$contents" || fail "$file is not in the package"
done
rm -f /var/lib/man-db/auto-update # with it dpkg writes the index of all manual pages anew
quietly dpkg --install "$package"
[ "$(command -v zpweb)" = /usr/bin/zpweb ] || fail "there is another zpweb: $(command -v zpweb)"
check_dependencies
build_against_it
use_it
files=$(dpkg --listfiles zpapache)
quietly dpkg --purge zpapache
for file in $files; do
    [ -d "$file" ] || [ ! -e "$file" ] || fail "$file is still there when the package is gone"
done
