#!/usr/bin/python3
"""Prints a configuration of many sites, each block as website creation writes it.

    bench/configurations.py SITES >FILE

Apache 2.4 accepts the file. The last site, on which operations are measured, has one more <Directory> block and
an alias.
"""
import sys

HEAD = """ServerRoot "/etc/apache2"
DefaultRuntimeDir /tmp
ErrorLog /tmp/error_log
Listen 127.0.0.1:8099
{modules}
NameVirtualHost 192.0.2.10:80
NameVirtualHost 192.0.2.11:80
"""
MODULES = ("mpm_event", "authz_core", "alias")
SITE = """
<VirtualHost 192.0.2.10:80>
	ServerName {domain}
	ServerAdmin webmaster@{domain}
	DocumentRoot "{home}/www/html"
	ServerAlias www.{domain}
	ErrorLog {home}/log/httpd/error_log
	CustomLog {home}/log/httpd/access_log combined
	<Directory "{home}">
		AllowOverride All
	</Directory>
	<Directory "{home}/www">
	</Directory>
{more}</VirtualHost>
"""
MORE = """	<Directory "{home}/www/html">
		AllowOverride All
	</Directory>
	Alias /files "{home}/www/files"
"""


def domain(number):
    return f"site{number:06}.example"


def home(number):
    return f"/srv/sites/{domain(number)}"


def write(sites, file):
    modules = "\n".join(f"LoadModule {name}_module /usr/lib/apache2/modules/mod_{name}.so" for name in MODULES)
    file.write(HEAD.format(modules=modules))
    for number in range(1, sites + 1):
        more = MORE.format(home=home(number)) if number == sites else ""
        file.write(SITE.format(domain=domain(number), home=home(number), more=more))


if __name__ == "__main__":
    write(int(sys.argv[1]), sys.stdout)
