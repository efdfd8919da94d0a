"""The sites as a document: export, plan, apply --state."""
import json
import subprocess
from pathlib import Path

import jsonschema
import pytest

from conftest import OWNER, Machine, schema


def planned(machine, document, *options, status=0):
    answer = machine.run("plan", "-", "--json", *options, input=json.dumps(document))
    assert answer.status == status, answer
    return [command["text"] for command in answer.json["commands"]]


@pytest.fixture(scope="module")
def made():
    """Three sites, and a copy of them."""
    machine = Machine(Path("/var/zpweb-test/three"))
    lines = [("site create", [f"{name}.example"], {"address": "127.0.0.1", "owner": OWNER, "path": machine.sites}) for name in "abc"]
    lines += [("site set", ["b.example"], {"redirect": "/o=http://n.example/", "index": "i.html", "alias": "/p=/srv/p"}),
              ("host add", ["c.example", "more.example"], {})]
    machine.do("apply", "-", input="\n".join(json.dumps(dict(zip(("command", "arguments", "options"), line)), default=str) for line in lines))
    machine.do("user", "add", "c.example", "joe", input="word\n")
    machine.do("site", "stop", "c.example")
    (machine.root / "www/a b").mkdir()
    subprocess.run(f"cp -a {machine.root} {machine.root}.kept; cp -a /etc/webusers /etc/webusers.kept", shell=True, check=True)
    yield machine
    subprocess.run(f"rm -r {machine.root} {machine.root}.kept /etc/webusers /etc/webusers.kept", shell=True, check=True)


@pytest.fixture
def three(made):
    yield made
    subprocess.run(f"rm -r {made.root} /etc/webusers; cp -a {made.root}.kept {made.root}; cp -a /etc/webusers.kept /etc/webusers",
                   shell=True, check=True)


def test_what_is_exported_is_planned_with_nothing_to_do(three):
    three.conf.write_text(three.text().replace("\tRedirect ", """\tAliasMatch ^/y /srv/y
\tAlias "/a b" "/srv/a b"
\tRedirectMatch ^/z http://z.example/
\tRedirectPermanent /perm http://perm.example/
\t<Location /one>
\t\tAlias /srv/one
\t\tDirectoryIndex x.html
\t</Location>
\tRedirect """, 1))
    before = three.tree()
    document = three.do("export").json
    schema("sites").validate(document)
    a, b, c = document["sites"]
    assert (b["redirect"], b["index"], b["alias"]) == ({"/perm": "http://perm.example/", "/o": "http://n.example/"}, ["i.html"], {"/p": "/srv/p"})
    assert (c["state"], c["host_names"], c["users"]) == ("stopped", ["www.c.example", "more.example"], ["joe"])
    assert planned(three, document) == [] and three.tree() == before
    assert [site["name"] for site in three.do("export", "B.example", "a.example").json["sites"]] == ["b.example", "a.example"]
    assert three.run("export", "b.exmaple").status == 6
    three.conf.write_bytes(three.conf.read_bytes().replace(b"/srv/p", b"/srv/\xe9"))
    left_out = three.do("export", "b.example")
    assert "no UTF-8" in left_out.err and "alias" not in left_out.json["sites"][0] and planned(three, left_out.json) == []
    three.conf.write_bytes(three.conf.read_bytes().replace(b"</Virt", b"<Directory /srv/z>\nRequire ip 10.1.2.3\nRequire user joe\n</Directory>\n</Virt", 1))
    [told] = [each for each in three.do("export", "a.example").json["sites"][0]["directories"] if each["path"] == "/srv/z"]
    assert told == {"path": "/srv/z", "who": ["Require ip 10.1.2.3", "Require user joe"]}, "an address is not all that is let in"


CHANGES = [
    ({"name": "a.example", "host_names": ["*.x.example"]}, ["host add a.example *.x.example", "host remove a.example www.a.example"]),
    ({"name": "a.example", "state": "suspended"}, ["site suspend a.example"]),
    ({"name": "B.example", "redirect": {"/q": "http://q.example/"}, "error_document": {"404": "/lost"}},
     ["site set b.example --redirect /o= --redirect /q=http://q.example/ --error-document 404=/lost"]),
    ({"name": "b.example", "alias": {}, "index": ["i.html"]}, ["site set b.example --alias /p="]),
    ({"name": "b.example", "index": []}, ["directive delete DirectoryIndex --site b.example"]),
    ({"name": "b.example", "alias": {"/p": "/srv"}, "index": ["i.html"]}, ["site set b.example --alias /p=/srv"]),
    ({"name": "c.example", "index": ["c.html"]}, ["site start c.example", "site set c.example --index c.html", "site stop c.example"]),
    ({"name": "c.example", "error_document": {"404": "/lost"}}, ["site start c.example", "site set c.example --error-document 404=/lost", "site stop c.example"]),
    ({"name": "c.example", "state": "running"}, ["site start c.example"]),
    ({"name": "a.example", "directories": [{"path": "/var/zpweb-test", "options": ["-Indexes", "+FollowSymLinks"]}]},
     ["vdir create a.example /var/zpweb-test --option -Indexes --option +FollowSymLinks"]),
    ({"name": "a.example", "directories": [{"path": "/var/zpweb-test", "allow": ["192.0.2.0/24", "127.0.0.1"], "deny": ["all"]}]},
     ["vdir create a.example /var/zpweb-test --allow 192.0.2.0/24,127.0.0.1 --deny all"]),
    ({"name": "a.example", "directories": [{"path": "/var/zpweb-test", "deny": ["192.0.2.7"]}]},
     ["vdir create a.example /var/zpweb-test --deny 192.0.2.7"]),
    ({"name": "c.example", "redirects": [{"path": "/r", "to": "https://n.example/"}]},
     ["site start c.example", "redirect set c.example /r --to https://n.example/", "site stop c.example"]),
    ({"name": "a.example", "root": "/var/zpweb-test/three/sites/b.example"},
     ["directive set DocumentRoot /var/zpweb-test/three/sites/b.example --site a.example --quoted"]),
    ({"name": "a.example", "root": "/var/zpweb-test/three/www/a b"}, ["directive set DocumentRoot /var/zpweb-test/three/www/a b --site a.example --quoted"]),
    ({"name": "b.example", "state": "absent"}, ["site delete b.example"]), ({"name": "e.example", "state": "absent"}, []),
    ({"name": "c.example", "host_names": ["more.example", "www.c.example"]}, []),
    ({"name": "d.example", "address": "127.0.0.1", "owner": OWNER, "path": "/var/zpweb-test", "host_names": [], "state": "stopped"},
     [f"site create d.example --address 127.0.0.1 --owner {OWNER} --path /var/zpweb-test", "host remove d.example www.d.example",
      "site stop d.example"]),
    ({"name": "d.example", "address": "127.0.0.1", "owner": OWNER, "path": "/var/zpweb-test", "root": "/var/zpweb-test/three/www",
      "directories": [{"path": "/var/zpweb-test/d.example"}, {"path": "/var/zpweb-test/d.example/www", "options": ["-Indexes"]}]},
     [f"site create d.example --address 127.0.0.1 --owner {OWNER} --path /var/zpweb-test",
      "directive set DocumentRoot /var/zpweb-test/three/www --site d.example --quoted", "vdir set d.example /var/zpweb-test/d.example/www --option -Indexes"])]


@pytest.mark.parametrize("site, commands", CHANGES, ids=lambda value: value["name"] if isinstance(value, dict) else "")
def test_a_plan_is_what_apply_does_and_then_nothing_is_left_to_do(three, site, commands):
    before, document = three.text(), {"sites": [site]}
    assert planned(three, document, "--detailed-exitcode", status=8 if commands else 0) == commands and three.text() == before
    answer = three.do("apply", "--state", "-", "--json", input=json.dumps(document))
    assert answer.json["changed"] == bool(commands) and [c["text"] for c in answer.json["commands"]] == commands
    again = three.do("apply", "--state", "-", "--json", input=json.dumps(document)).json
    assert again["changed"] is False and again["commands"] == []
    if commands:
        three.do("undo")
    assert three.text() == before


def test_a_pattern_goes_before_the_names_that_it_takes_in(three):
    three.do("host", "add", "a.example", "*.a.example")
    assert planned(three, {"sites": [{"name": "a.example", "host_names": []}]}) == [f"host remove a.example {name}.a.example" for name in "* www".split()]


def test_a_plan_is_kept_to_and_a_removal_is_confirmed(three):
    file, plan = three.root / "www/sites.json", three.root / "www/plan.json"
    file.write_text(json.dumps({"sites": [{"name": "a.example", "state": "stopped"}]}))
    plan.write_text(three.do("plan", file, "--json").out)
    three.conf.write_text(three.text() + "# mine\n")
    answer = three.run("apply", "--state", file, "--plan", plan)
    assert answer.status == 1 and "plan again" in answer.err
    made = three.do("plan", file, "--json").json
    for other, told in (([], "no plan"), ({}, "no plan"), ({**made, "commands": 1}, "no plan"), ({**made, "commands": []}, "plan again"),
                        ({**made, "commands": [{"text": 1}]}, "plan again"), ({**made, "fingerprint": 1}, "plan again")):
        plan.write_text(json.dumps(other))
        answer = three.run("apply", "--state", file, "--plan", plan)
        assert answer.status in (1, 2) and told in answer.err, answer
    plan.write_text(json.dumps(made))
    three.do("apply", "--state", file, "--plan", plan)
    three.do("site", "start", "c.example")
    before = three.text()
    assert three.do("plan", file, "--exclusive", "--json").json["removals"] == ["b.example", "c.example"]
    for count in ([], ["--confirm-removals", "1"], ["--confirm-removals", "3"]):
        assert "--confirm-removals 2" in three.run("apply", "--state", file, "--exclusive", *count).err and three.text() == before
    three.do("apply", "--state", file, "--exclusive", "--confirm-removals", "2")
    assert [site["name"] for site in three.do("export").json["sites"]] == ["a.example"]


@pytest.mark.parametrize("text, told", [
    ("x", "expected a JSON object"), ("{}", '"sites"'), ('{"sites": [1]}', '"name"'), ('{"sites": [{"name": "a b"}]}', "host name"),
    ('{"sites": [{"name": "a.example", "redirekt": {}}]}', 'did you mean "redirect"'),
    ('{"sites": [{"name": "a.example", "tls": {"certificate": 5, "key": "/k"}}]}', '"tls": "certificate" is of the wrong type'),
    ('{"sites": [{"name": "a.example", "php": {"socket": "/s"}}]}', '"php": unknown field "socket"'),
    ('{"sites": [{"name": "a.example", "tls": {"certificate": "/c"}}]}', '"key" is missing'),
    ('{"sites": [{"name": "a.example", "redirects": [{"path": "/a", "to": "ftp://x/"}]}]}', "neither http nor https"),
    ('{"sites": [{"name": "a.example", "access": {"path": "/"}}]}', "expected a list"), ('{"sites": [{"name": "a.example", "tls": [1]}]}', "expected an object"),
    ('{"sites": [{"name": "a.example", "index": "x"}]}', '"index"'), ('{"sites": [{"name": "a.example", "state": "on"}]}', "expected running"),
    ('{"sites": [{"name": "a.example"}, {"name": "A.example"}]}', "twice"),
    ('{"sites": [{"name": "a.example", "access": [{"path": "/x", "deny": ["all"]}, {"path": "/x/", "deny": ["all"]}]}]}', "twice"), ('{"sites": [{"name": "new.example"}]}', '"address" and "owner"'),
    ('{"sites": [{"name": "a.example", "host_names": ["a b"]}]}', "host name")])
def test_a_document_that_is_wrong_is_refused(three, text, told):
    before = three.text()
    answer = three.run("apply", "--state", "-", input=text)
    assert answer.status == 2 and told in answer.err and three.text() == before, answer
    if text.startswith("{") and told not in ("twice", "host name", "neither http nor https", '"address" and "owner"'):
        with pytest.raises(jsonschema.ValidationError):
            schema("sites").validate(json.loads(text))
