#!/bin/sh
# readme_example.sh PROJECT   the README's C++ is the example that is built
set -eu
# shellcheck disable=SC2016 # the backquotes are Markdown's
sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$1/README.md" | diff - "$1/examples/create_website.cpp"
