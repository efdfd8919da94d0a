"""Blocks as people write them: each change touches what it was asked for and nothing else, and goes back."""
import pytest

from conftest import OWNER

FAST = ("--no-check", "--no-reload")
ODD = """\
<virtualhost  *:80 [::]:80>  # on both
    # the shop
    ErrorLog  logs/shop   # not a comment
    Servername "shop.example:80"
    ServerAlias   www.shop.example \\
                  shop.test
    <IfModule mod_alias.c>
        Redirect permanent "/old"  https://shop.example/new
    </IfModule>
    <directory /srv/shop/>
        Options Indexes FollowSymLinks
        Require all granted
    </directory>
</VirtualHost>
"""
TABS = "<VirtualHost 127.0.0.1:8080>\r\n\tServerName shop.example\r\n\tDocumentRoot /srv/shop\r\n</VirtualHost>"
QUOTED = """'<VirtualHost' *:80>\n  "ServerName" shop.example\n  "Server\\\nAlias" www.shop.example\n  "ServerSignature" Off\n"</VirtualHost>"\n"""
MANY = "<VirtualHost " + "".join(f"\\\n    127.0.0.{i}:80 " for i in range(1, 9)) + "\\\n>\n  ServerName shop.example\n</VirtualHost>\n"

SECURE = """\
<VirtualHost *:443>
    ServerName shop.example
    CustomLog logs/one combined
    CustomLog logs/two combined
    Include "/etc/x/zpweb.d/shop.example/tls.conf"
</VirtualHost>
<VirtualHost *:80>
    ServerName shop.example
    DocumentRoot /srv/shop
</VirtualHost>
"""

# Command words, what goes, what comes, and the words that take it back (None: they are not its inverse).
CHANGES = {
    "a name joins the last line of names": (
        ODD, "host add SITE new.example", "shop.test\n", "shop.test new.example\n", "host remove SITE new.example"),
    "a name gets a line behind the server's": (
        TABS, "host add SITE new.example", "\tDocumentRoot", "\tServerAlias new.example\r\n\tDocumentRoot",
        "host remove SITE new.example"),
    "a name that begins another": (
        ODD, "host add SITE www.shop", "shop.test\n", "shop.test www.shop\n", "host remove SITE www.shop"),
    "a pattern of names": (
        ODD, "host add SITE *.Shop.test", "shop.test\n", "shop.test *.shop.test\n", "host remove SITE *.SHOP.test"),
    "a name that no request can have goes": (
        TABS.replace("Root", "Root /\n\tServerAlias my_shop dot.example.\r\n#"), "host remove SITE dot.example.", " dot.example.", "", None),
    "the first name goes": (
        ODD, "host remove SITE www.shop.example", "www.shop.example \\\n                  shop.test", "shop.test", None),
    "the port of all addresses": (
        ODD, "site port SITE 8081", "*:80 [::]:80", "*:8081 [::]:8081", "site port SITE 80"),
    "the port of addresses on several lines": (
        MANY, "site port SITE 8081", MANY[13:-12], MANY[13:-12].replace("80 ", "8081 "), "site port SITE 80"),
    "a redirection keeps its status": (
        ODD, "site set SITE --redirect /old=https://shop.example/newer", "/new\n", "/newer\n",
        "site set SITE --redirect /old=https://shop.example/new"),
    "a redirection comes before what takes it in": (
        ODD, "site set SITE --redirect /old/x=https://b.example/", "    <IfModule",
        '    Redirect "/old/x" "https://b.example/"\n    <IfModule', "site set SITE --redirect /old/x="),
    "a directive is added at the end": (
        ODD, "directive add ServerSignature Off --site SITE", "</VirtualHost>", "    ServerSignature Off\n</VirtualHost>",
        "directive delete ServerSignature --site SITE"),
    "a directive before the name": (
        ODD, "directive set ErrorLog x --site SITE", "logs/shop   # not a comment", "x", None),
    "a directive whose name is in quotes": (
        QUOTED, "directive set ServerSignature On --site SITE", "Off", "On", "directive set ServerSignature Off --site SITE"),
    "names under one in quotes": (
        QUOTED, "host add SITE new.example", "www.shop.example", "www.shop.example new.example", "host remove SITE new.example"),
    "one in quotes goes": (
        QUOTED, "directive delete ServerSignature Off --site SITE", '  "ServerSignature" Off\n', "", None),
    "a directory's options": (
        ODD, "vdir set SITE /srv/shop --option=-Indexes", "Options Indexes Follow", "Options Follow", None),
    "a name joins the line that always counts": (
        ODD.replace("<IfModule mod_alias.c>\n", "<IfModule mod_alias.c>\n        ServerAlias more.shop.test\n"),
        "host add SITE new.example", " shop.test\n", " shop.test new.example\n", "host remove SITE new.example"),
    "a path with a blank": (
        TABS, 'directive set DocumentRoot "/srv/a\\ b" --site SITE', "/srv/shop", '"/srv/a b"', None),
    "hosts of a directory": (
        ODD, "vdir set SITE /srv/shop --deny all --allow 10.1.2.3", "Require all granted", "Require ip 10.1.2.3", None),
    "hosts of which some are kept out": (
        ODD, "vdir set SITE /srv/shop --order --allow env=known --deny 2001:db8::1,.b.example", "        Require all granted\n",
        "        <RequireAll>\n            Require env known\n            Require not ip 2001:db8::1\n            Require not host .b.example\n        </RequireAll>\n", None),
    "a value that stands in quotes": (TABS.replace("/srv/shop", '/srv/shop\r\n\tErrorLog "logs/a"'), "directive delete ErrorLog logs/a --site SITE", '\tErrorLog "logs/a"\r\n', "", None),
    "a section that is made to be there": (
        TABS, "perl on SITE", "</VirtualHost>",
        '\t<Directory "/srv/shop">\r\n\t\t# zpweb: this section goes with its last line\r\n\t\tAddHandler cgi-script cgi pl\r\n\t</Directory>\r\n</VirtualHost>', "perl off SITE"),
    "a section of a root that is written with a slash": (
        TABS.replace("/srv/shop", "/srv/shop/"), "perl on SITE", "</VirtualHost>",
        '\t<Directory "/srv/shop">\r\n\t\t# zpweb: this section goes with its last line\r\n\t\tAddHandler cgi-script cgi pl\r\n\t</Directory>\r\n</VirtualHost>', "perl off SITE"),
    "a section of such a root that is there": (
        TABS.replace("/srv/shop", "/srv/shop/\r\n\t<Directory /srv/shop/>\r\n\tOptions None\r\n\t</Directory>"), "perl on SITE",
        "\tOptions", "\t\tAddHandler cgi-script cgi pl\r\n\tOptions", "perl off SITE"),
    "a limit of its own section": (
        TABS, "basedir on SITE /srv/shop", "</VirtualHost>",
        '\t<Directory "/srv/shop">\r\n\t\t# zpweb: this section goes with its last line\r\n\t\tphp_admin_value open_basedir "/srv/shop/:/tmp/"\r\n'
        '\t</Directory>\r\n</VirtualHost>', "basedir off SITE /srv/shop"),
    "a limit beside another value": (
        TABS.replace("/srv/shop", "/srv/shop\r\n\t<Directory /srv/shop>\r\n\tphp_admin_value memory_limit 9M\r\n\t</Directory>"), "basedir on SITE /srv/shop",
        "9M\r\n", '9M\r\n\tphp_admin_value open_basedir "/srv/shop/:/tmp/"\r\n', "basedir off SITE /srv/shop"),
    "one of several": (SECURE.replace("logs/two combined", "logs/one combined2"), "directive delete CustomLog logs/one\\ combined --site SITE", "    CustomLog logs/one combined\n", "", None),
    "the first block alone": (
        SECURE, "directive add ServerSignature Off --site SITE --first", "</VirtualHost>\n<", "    ServerSignature Off\n</VirtualHost>\n<",
        "directive delete ServerSignature --site SITE"),
    "the port of one address": (
        ODD.replace("[::]:80", "[::]:81"), "site port SITE 8081 --port 80", "*:80 ", "*:8081 ", "site port SITE 80 --port 8081"),
    "a name that others hold": (
        TABS.replace("/srv/shop", "/srv/shop\r\n\tServerAlias www.shop.example.net myshop.example"), "site rename SITE store.example",
        "Name shop.", "Name store.", "site rename store.example SITE"),
    "the port of plain http": (SECURE, "site port SITE 8081", "*:80>", "*:8081>", "site port SITE 80 --port 8081"),
    "what zpweb includes is not among the files of the site": (
        SECURE.replace("tls.conf\"", "tls.conf\"\n    Include /srv/old.conf"), "site set SITE --include /srv/new.conf --port 443", "/srv/old", "/srv/new",
        "site set SITE --include /srv/old.conf --port 443"),
    "a line of the server's behind another": (
        "Listen 80\n" + TABS, "directive insert Timeout 9 --after Listen", "Listen 80\n", "Listen 80\nTimeout 9\n", "directive delete Timeout"),
    "a section before the first": (
        ODD, "folder add SITE /srv/x --line AllowOverride\\ None", "    <directory",
        '    <Directory "/srv/x">\n        AllowOverride None\n    </Directory>\n    <directory', "folder delete SITE /srv/x"),
    "a section behind one with a pattern": (
        ODD.replace("    <directory", "    <Directory ~ \"^/srv/[0-9]\">\n    </Directory>\n    <directory"), "folder set SITE /srv/shop --line Require\\ local",
        "Options Indexes FollowSymLinks\n        Require all granted", "Require local", None),
    "one more option of a directory": (
        ODD, "vdir set SITE /srv/shop --option=+ExecCGI", "Options Indexes FollowSymLinks", "Options Indexes FollowSymLinks ExecCGI",
        "vdir set SITE /srv/shop --option=-ExecCGI"),
    "all options but one": (
        ODD.replace("Indexes FollowSymLinks", "All"), "vdir set SITE /srv/shop --option=-Indexes", "Options All",
        "Options Includes FollowSymLinks ExecCGI", None),
    "the only option goes": (
        ODD.replace(" FollowSymLinks", ""), "vdir set SITE /srv/shop --option=-Indexes", "Options Indexes", "Options None", None),
    "an option that is switched": (
        ODD.replace("Indexes Follow", "+Indexes +Follow"), "vdir set SITE /srv/shop --option=-Indexes", "Options +Indexes +FollowSymLinks",
        "Options +FollowSymLinks -Indexes", None),
    "a directory for nobody": (ODD, "vdir set SITE /srv/shop --deny all", "all granted", "all denied", "vdir set SITE /srv/shop --allow all"),
    "who may see it is told in a condition": (
        ODD.replace("Require", "<IfVersion >= 2.4>\n        Require").replace("granted\n", "granted\n        </IfVersion>\n"),
        "vdir set SITE /srv/shop --deny all", "all granted", "all denied", "vdir set SITE /srv/shop --allow all"),
    "a line of one name goes with it": (
        TABS.replace("/srv/shop", "/srv/shop\r\n\tServerAlias a.example\r\n\tServerAlias b.example"), "host remove SITE b.example",
        "\tServerAlias b.example\r\n", "", None),
    "what is in quotes stays so": (
        TABS.replace("/srv/shop", '"/srv/shop"'), "directive set DocumentRoot /srv/new --site SITE", '"/srv/shop"', '"/srv/new"', None),
    "quotes within quotes": (
        TABS.replace("/srv/shop", '/srv/shop\r\n\tSetEnv A "b \\"c\\""\r\n\tSetEnv A "b c"'),
        'directive delete SetEnv A\\ "b\\ \\"c\\"" --site SITE', '\tSetEnv A "b \\"c\\""\r\n', "", None),
    "a line behind the last, which has no end": (
        "Listen 80", "directive insert Timeout 9 --after Listen", "Listen 80", "Listen 80\nTimeout 9\n", None),
    "a redirection comes before a pattern that takes it in": (
        TABS.replace("/srv/shop", "/srv/shop\r\n\tRedirectMatch 301 ^/o(.*) http://b.example$1"), "site set SITE --redirect /old=http://a.example/",
        "\tRedirectMatch", '\tRedirect "/old" "http://a.example/"\r\n\tRedirectMatch', "site set SITE --redirect /old="),
    "a redirection to another path of it": (
        TABS, "site set SITE --redirect /old=http://shop.example/older", "</VirtualHost>", '\tRedirect "/old" "http://shop.example/older"\r\n</VirtualHost>',
        "site set SITE --redirect /old="),
    "a redirection to another port": (
        TABS, "site set SITE --redirect /=http://shop.example:9999/", "</VirtualHost>", '\tRedirect "/" "http://shop.example:9999/"\r\n</VirtualHost>',
        "site set SITE --redirect /="),
    "a redirection of the blocks that it does not lead to": (
        SECURE, "site set SITE --redirect /=https://shop.example/", "/srv/shop\n", '/srv/shop\n    Redirect "/" "https://shop.example/"\n',
        "site set SITE --redirect /="),
    "an alias": (TABS, "site set SITE --alias /x=/tmp", "</VirtualHost>", '\tAlias /x "/tmp"\r\n</VirtualHost>', "site set SITE --alias /x="),
    "an address of its own": (
        TABS, "address own SITE --address 127.0.0.2", "127.0.0.1:", "127.0.0.2:", "address own SITE --address 127.0.0.1"),
}


def words(text):
    return [word.replace("\0", " ").replace("SITE", "shop.example") for word in text.replace("\\ ", "\0").split(" ")]


@pytest.mark.parametrize("change", CHANGES)
def test_what_is_asked_for_changes_and_goes_back(machine, change):
    block, command, goes, comes, back = CHANGES[change]
    assert block.count(goes) == 1
    before = "# above\n\n" + block
    machine.conf.write_bytes(before.encode())
    machine.do(*words(command), *FAST)
    assert machine.conf.read_bytes().decode() == before.replace(goes, comes)
    machine.do(*(words(back) if back else ["undo"]), *FAST)
    assert machine.conf.read_bytes().decode() == before


@pytest.mark.parametrize("there,back", [("site stop", "site start"), ("site suspend", "site resume"), ("site delete", "undo")])
def test_all_blocks_of_a_name_change_together(machine, there, back):
    other = machine.root / "included/tls.conf"
    texts = {machine.conf: machine.text() + ODD + "\n" + TABS, other: ODD.replace("80", "443")}
    for file, text in texts.items():
        file.write_bytes(text.encode())
    machine.do(*there.split(), "shop.example", *FAST)
    assert all(file.read_bytes() != text.encode() for file, text in texts.items())
    assert machine.conf.read_bytes().count(b'/suspended.conf"\r\n') == 2 * ("suspend" in there)
    machine.do(*back.split(), *(["shop.example"] if back != "undo" else []), *FAST)
    assert all(file.read_bytes() == text.encode() for file, text in texts.items())


def test_what_is_a_site_and_what_only_looks_like_one(machine):
    machine.conf.write_text(machine.text() + """\
# A <VirtualHost> definition.
# <VirtualHost *:80> may stand
# here, ServerName too.
Define NAME defined.example
# a comment that goes on \\
<VirtualHost *:80>
ServerName commented.example
<VirtualHost *:80>
ServerName ${NAME}
ServerName http://last.example:8080
</VIRTUALHOST>
#<VirtualHost *:80>
#  ServerName stopped.example
#</VirtualHost>
#<VirtualHost *:80>
#  ServerName open.example
Listen 127.0.0.9:80
#</VirtualHost>
# <VirtualHost *:80>
#   ServerName (name)
# </VirtualHost>
# <VirtualHost *:80>
#   ServerName sample4.example
#   Note: its root comes here.
# </VirtualHost>
# To serve a site with TLS, use
# <VirtualHost *:443>
#   ServerName sample1.example
#   ...
# </VirtualHost>
# <VirtualHost *:80>
#   ServerName sample2.example
#   and whatever else the site needs
# </VirtualHost>
# <VirtualHost *:80>
# (its address)
#   ServerName sample3.example
# </VirtualHost>
#<VirtualHost *:80>
#  # The name of the site.
#
#  ServerName perl.example
#  ServerAlias www.perl.example \\
#    the.perl.example
#  ${SIGNED}
#  "ServerAdmin" a@perl.example
#  <Perl>
#    ... if $a; (1) and $b;
#  </Perl>
#</VirtualHost>
<IfModule !mod_nothing.c>
  <VirtualHost *:443>
    ServerName ${NAME}
    SSLEngine on
  </VirtualHost>
</IfModule>
<Macro Host $name>
  <VirtualHost *:80>
    ServerName $name
  </VirtualHost>
</Macro>
Use Host "$(x)"
<VirtualHost _default_:80>
  DocumentRoot /srv
</VirtualHost>
""")
    sites = machine.do("site", "list", "--json").json["sites"]
    number = next(i for i, line in enumerate(machine.text().splitlines(), 1) if '_default_' in line)
    nameless = f"{machine.conf}:{number}"
    assert [(site["name"], site["state"], site["blocks"][0]["tls"]) for site in sites] == [
        ("last.example", "running", False), ("stopped.example", "stopped", False), ("perl.example", "stopped", False), ("defined.example", "running", True),
        (nameless, "running", False)]
    machine.do("host", "add", nameless, "nameless.example", *FAST)
    assert "<VirtualHost _default_:80>\n  ServerAlias nameless.example\n  DocumentRoot" in machine.text()
    machine.do("site", "suspend", nameless, *FAST)
    other = "<VirtualHost 127.0.0.2:80>\n</VirtualHost>\n"  # comes to its line
    lines = machine.text().splitlines(True)
    machine.conf.write_text("".join(lines[:number - 1]) + other + "".join(lines[number - 1:]))
    machine.do("site", "suspend", nameless, *FAST)
    assert len(list(machine.root.glob("zpweb.d/*/*"))) == 2
    for each in nameless, f"{machine.conf}:{number + 3}":
        machine.do("site", "resume", each, *FAST)
    assert not (machine.root / "zpweb.d").exists()


@pytest.mark.parametrize("name", ["${NAME}", "{{name}}", "@NAME@", "<name>"])
def test_a_name_that_is_still_to_be_filled_in_is_taken_as_it_is_listed(machine, name):
    before = TABS.replace("shop.example", name)
    machine.conf.write_bytes(before.encode())
    assert machine.do("site", "list", "--no-check", "--json").json["sites"][0]["name"] == name
    for words, back in ((["host", "add", name, "new.example"], ["host", "remove", name, "new.example"]),
                        (["site", "suspend", name], ["site", "resume", name]), (["site", "delete", name], ["undo"])):
        machine.do(*words, *FAST)
        assert machine.conf.read_bytes() != before.encode()
        machine.do(*back, *FAST)
        assert machine.conf.read_bytes() == before.encode()
    assert machine.run("site", "create", name, "--owner", OWNER, "--path", machine.root, *FAST).status == 2


REFUSED = {
    "one of several lines that each count": (SECURE, "directive set CustomLog logs/new --site SITE", 2, "delete the one with its value"),
    "which of several lines of the server's": ("Listen 80\nListen 81\n", "directive delete Listen", 2, "name the VALUE"),
    "an address that several blocks have": (SECURE + SECURE.replace("shop", "other"), "directive add ServerSignature Off --block *:80", 2, "several blocks have it"),
    **{f"a block of several ({words})": (SECURE, words, 3, "several blocks")
       for words in ("rails on SITE app --owner anna", "rails off SITE app", "suphp off SITE", "module unblock SITE x")},
    "lines for which there is no place": (TABS, "suphp on SITE", 1, "found no place"),
    "an application above": (TABS, "rails on SITE ../app --owner anna", 2, "name of a directory"),
    "a site of which one block has no end": (TABS + "\n" + TABS.replace("</VirtualHost>", ""), "site delete SITE", 1, "never closed"),
    "a block without an end": (TABS.replace("</VirtualHost>", ""), "host add SITE new.example", 1, "never closed"),
    "a block behind one without an end": (
        "<VirtualHost *:81>\nServerName open.example\n" + SECURE, "site stop SITE --port 443", 3, "could not be started again"),
    "an address of several": (ODD, "address own SITE --address 127.0.0.2", 3, "several addresses"),
    "a block in a condition": ("<IfDefine X>\n" + SECURE + "</IfDefine>\n", "site move SITE --layout main", 3, "in a condition"),
    "no directory of sites": (SECURE, "site move SITE --layout files", 3, "use --layout main"),
    "a redirection to itself": (SECURE, "redirect set SITE /a --to https://SHOP.example/a/b", 2, "lead to itself"),
    "a redirection of a block to itself": (SECURE, "site set SITE --port 80 --redirect /=http://shop.example/x?y", 2, "lead to itself"),
    "one without a path": (SECURE, "site set SITE --redirect /=http://shop.example --port 80", 2, "lead to itself"),
    "an alias twice": (SECURE, "site set SITE --alias /x=/a --alias /x=/b", 2, '"/x" is given twice'),
    "a path behind a question": (SECURE, "redirect set SITE /a --to https://x.example/?q --keep-path", 2, "nothing can be appended"),
    "neither a user nor all": (SECURE, "user delete SITE", 2, "expected a USER, or --all"),
    "no root": (MANY, "perl on SITE", 6, "has no DocumentRoot"),
    "no root for a message": (MANY, "site suspend SITE --message", 6, "has no DocumentRoot"),
    "no home to go back to": (TABS.replace("/srv/shop", "message.htm"), "site resume SITE", 1, "name it with --home"),
    "no log": (TABS, "log policy SITE", 6, "names no log file"),
    "no log to rotate": (TABS, "log rotate SITE", 6, "no access log to rotate"),
    "no log to show": (TABS, "log show SITE", 6, "no such log file"),
    "sites or all": (TABS, "log policy SITE --all", 2, "expected SITE or --all"),
    "no block there": (TABS, "site stop CONF:0", 6, "there is none"),
    "no block at that address": (TABS, "site stop 127.0.0.1:99", 6, "there is none"),
    "a disabled site that is none": (TABS, "site enable none.example", 6, "no file that could be enabled"),
    "a path without a parent": (TABS, "site create new.example --address 127.0.0.1 --port 8080 --listen --owner anna --path /nowhere/x", 6, "/nowhere/x"),
    "a block that another address's would be taken for": (
        "Listen 127.0.0.1:8080\n" + TABS.replace("0.1:", "0.10:").replace("shop.example", "127.0.0.10") + "\n" + TABS.replace("shop.example", "127.0.0.1"),
        "site create new.example --address 127.0.0.1 --port 8080 --owner anna --path /var --mode own", 3, "would be taken for"),
    "its own name": (SECURE, "host remove SITE SITE", 3, "the site's own name"),
    "another site's name": (TABS + "\n" + TABS.replace("shop", "other"), "host add SITE other.example", 7, "a site of its own"),
    "a name of another site's second line": (
        TABS + "\n" + TABS.replace("shop.example\r\n", "other.example\r\n\tServerAlias a.example\r\n\tServerAlias b.example\r\n"), "site rename SITE b.example", 7, "another site has it"),
    "its name by another way": (SECURE, "directive set ServerName b.example --site SITE", 2, "site rename"),
    "nobody to let in": (SECURE, "access set SITE /a", 2, "is missing"),
    "a redirect that is not there": (SECURE, "redirect remove SITE /a", 6, "has none"),
    "a user who is not there": (SECURE, "protect edit /var joe", 6, "joe"),
    "a file of the server's as one of parameters": (SECURE, "param add CONF A B", 2, "see directive"),
    "an address at which nobody listens": (
        "Listen 127.0.0.1:80\n", "site create new.example --address 127.0.0.3 --port 80 --owner anna --path /var", 3, "does not listen"),
    "settings above their directory": (
        "LoadModule authz_core_module x.so\nLoadModule authz_host_module x.so\n" + SECURE.replace("shop.example", ".."), "access set .. /a --deny all", 3, "no name that its settings"),
    "a line over the bound": (SECURE.replace("logs/one", "x" * 2100), "directive delete CustomLog --site SITE", 1, "httpd.conf:3"),
    "a name from a variable": ("Define NAME shop.example\n" + TABS.replace("shop.example", "${NAME}", 1), "site rename SITE store.example", 3, "from a variable"),
    "a name that the site has not": (TABS, "site canonical SITE www", 1, "is no name of the site"),
    "words in a block": (TABS.replace("</V", "\tand some words\r\n</V"), "site stop SITE", 3, "could not be started again"),
    "prose about a block": ("<VirtualHost name:port> is prose\n" + TABS, "site stop SITE", 3, "could not be started again"),
}


@pytest.mark.parametrize("case", REFUSED)
def test_what_is_not_clear_or_would_do_harm_is_refused(machine, case):
    block, command, status, told = REFUSED[case]
    machine.conf.write_text(block)
    answer = machine.run(*[word.replace("CONF", str(machine.conf)) for word in words(command)], *FAST, input="word\n")
    assert (answer.status, machine.text(), answer.out) == (status, block, "") and told in answer.err, answer


@pytest.mark.parametrize("command, sign", [("perl on SITE", "AddHandler"), ("limits on", "<IfModule mod_host"), ("suphp on SITE", "<IfModule mod_suphp"),
                                           ("server catch-all on", "zpweb.d")])
def test_what_is_so_already_is_not_written_twice(machine, command, sign):
    machine.conf.write_text(machine.text() + "LoadModule hostinglimits_module x.so\n" + TABS.replace("\r", "").replace("\n</", "\n\tCustomLog x y\n</"))
    for _ in range(2):
        machine.do(*words(command), *FAST)
        assert machine.text().count(sign) == 1


def test_blocks_of_a_site_are_told_apart(machine):
    machine.conf.write_text(SECURE.rstrip())
    assert "\n\\ No newline at end of file\n" in machine.do("site", "stop", "shop.example", "--dry-run", "--diff", *FAST).out
    machine.conf.write_text(SECURE)
    for word, state in (("stop", "partly"), ("start", "running")):
        machine.do("site", word, "shop.example", "--port", "443", *FAST)
        assert machine.do("site", "show", "shop.example", "--no-check", "--json").json["state"] == state
        assert machine.do("site", "list", "--json").json["sites"][0]["state"] == state
    machine.do("site", "stop", "shop.example", *FAST)
    assert "on port 81" in machine.run("site", "start", "shop.example", "--port", "81", *FAST).err
    machine.do("site", "start", "shop.example", "--port", "80", *FAST)
    assert machine.text().count("#<VirtualHost *:443>") == 1 and "\n<VirtualHost *:80>" in machine.text()
    machine.conf.write_text(SECURE + SECURE.replace("<V", "#<V").replace("</V", "#</V").replace("    ", "#"))
    assert machine.do("site", "list", "--json").json["sites"][0]["flags"] == []
    machine.conf.write_text(ODD.replace("Options Indexes FollowSymLinks", "Options All"))
    (folder,) = machine.do("export", "shop.example", "--no-check").json["sites"][0]["directories"]
    assert folder["options"] == ["+Indexes", "+Includes", "+FollowSymLinks", "-MultiViews", "+ExecCGI"]
