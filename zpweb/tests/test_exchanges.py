"""What a site's owner exchanges on the way to a file, while root works: before any call, the way leads elsewhere."""
import json
import os
import subprocess
from pathlib import Path

import pytest
from attacks import FAST, certify, hurt_by, look, prey  # noqa: F401
from conftest import OWNER, ZPFAULT, ZPWEB, give

# What root does (behind what was done before), and the component of the way there that the owner swaps.
SWAPS = [
    ("protect add {html}/q joe", "html/q"),
    ("protect add {html}/q joe", "html"),
    ("protect remove {html}/q ann", "html/q"),
    ("protect edit {html}/q ann", "html/q/.htpasswd"),
    ("protect edit {html}/q ann", "html/q"),
    ("param add {html}/q/conf C D", "html/q/conf"),
    ("param edit {html}/q/conf Name one two", "html/q"),
    ("param delete {html}/q/conf Name one", "html"),
    ("site set shop.example --mode 0777", "html"),
    ("vdir create shop.example {html}/q --protect", "html/q"),
    ("site create b.example --address 127.0.0.1 --owner anna --path {html}", "html"),
    ("site delete shop.example --remove-folders", "html"),
    ("undo", "html/q"),
    ("protect remove {html}/q ann; undo", "html/q/.zpweb-.htpasswd"),
    ("tls renewed shop.example", "html/q"),
    ("vdir create shop.example {html}/q --take-over; undo", "html/q"),
    ("renameat2:2 protect remove {html}/q ann; site stop shop.example", "html/q"),
    ("renameat2:2 protect remove {html}/q ann; site stop shop.example", "html/q/.htaccess"),
    ("renameat2:2 protect remove {html}/q ann; site stop shop.example", "html/q/.zpweb-.htaccess"),
    ("rails on shop.example q --owner anna", "html"),
]
FAR = (0, 2, 3, 6, 12, 13, 16, 18)  # of those, with the sites on a file system of their own


@pytest.fixture
def elsewhere(site, request):
    """The sites on a file system of their own, as /home often is."""
    if not request.param:
        yield False
        return
    subprocess.run(["mount", "--bind", site.sites, site.sites], check=True)
    yield True
    subprocess.run(["umount", "-l", site.sites], check=True)


@pytest.mark.parametrize("words, swapped, elsewhere", [(*swap, False) for swap in SWAPS] + [(*SWAPS[i], True) for i in FAR],
                         indirect=["elsewhere"])
def test_a_component_that_becomes_a_link_at_any_moment_leads_nowhere(site, prey, words, swapped, elsewhere):
    """Before every call that touches the owner's ground (without ZPWEB_FAULTS=all a sample of them): the component is moved away, and a link is in its place."""
    html = site.sites / "shop.example/www/html"
    place = html.parent / swapped
    (html / "q").mkdir()
    (html / "q/conf").write_text("Name one\n")
    site.do("protect", "add", html / "q", "ann", *FAST, input="word\n")
    if words.startswith("tls"):
        certify(site, html / "q")
    give(html.parent.parent)
    *earlier, words = words.format(html=html).split("; ")
    for each in earlier:
        call, *rest = each.split()
        killed = [ZPFAULT, "kill", call] if ":" in call else []
        done = subprocess.run([*killed, ZPWEB, "--conf", site.conf, *(rest if killed else each.split()), *FAST], capture_output=True)
        assert done.returncode == (137 if killed else 0), done
    target = prey / swapped.rpartition("/")[2].removeprefix(".zpweb-") if Path(swapped).suffix or swapped.endswith("conf") else prey
    swap = f"mv {place} {html.parent.parent}/swapped && ln -s {target} {place} && chown -h {OWNER} {place}"
    read = lambda: [str(p) for p in html.parent.parent.rglob("*") if p.is_file() and not p.is_symlink() and b"roots secret" in p.read_bytes()]
    assert hurt_by(site, prey, words, swap, lambda: {**look(prey), "read": read()}) == []


@pytest.mark.parametrize("elsewhere", [False, True], indirect=True)
def test_a_file_of_roots_is_at_no_moment_open_to_the_owner_of_its_directory(site, prey, elsewhere, monkeypatch):
    html = site.sites / "shop.example/www/html"
    give(html.parent.parent)
    (html / "conf").write_text("A B\nroots secret\n")
    (html / "conf").chmod(0o600)
    look_on = f"setpriv --reuid {OWNER} --clear-groups grep -qs 'roots secret' {html}/conf {html}/.zpweb-conf && touch {prey}/read; true"
    assert hurt_by(site, prey, f"param add {html}/conf C D", look_on, lambda: look(prey)) == []
    if not elsewhere:
        return  # the new file stands there from its rename on
    # Nor when the owner puts a file of his in its place while the server checks the rest of the change.
    lines = [{"command": "param add", "arguments": [f"{html}/conf", "E", "F"]}, {"command": "host add", "arguments": ["shop.example", "more.example"]}]
    (site.root / "www/lines").write_text("\n".join(map(json.dumps, lines)))
    script, swap = site.root / "www/apache2", f"[ -e {html}/moved ] || {{ mv {html}/conf {html}/moved; install -o {OWNER} /etc/hostname {html}/conf; }}"
    script.write_text(f"#!/bin/sh\ncase \"$*\" in *-t*) {swap}; esac\nexec /usr/sbin/apache2 \"$@\"\n")
    script.chmod(0o755)
    monkeypatch.setenv("PATH", f"{script.parent}:{os.environ['PATH']}")
    assert hurt_by(site, prey, f"apply {site.root}/www/lines", look_on, lambda: look(prey), FAST[1:]) == []


@pytest.mark.parametrize("words, made, swap, since", [
    ("site create b.example --address 127.0.0.1 --owner anna --path {html}", "b.example/www", "mv {html}/secret {made}", ""),
    ("protect add {html}/q joe", "q", "mkfifo {made}", ""),
    ("site create c.example --address 127.0.0.1 --owner anna --path {html}/q/d --traverse", "q", "mv {html}/secret {made}", ""),
    # What root names is given; what comes there once root has looked is not.
    ("vdir create shop.example {html}/q --take-over", "q", "mv {html}/secret {made}", "journal"),
    ("site set shop.example --folder {html}/q --mode 0777", "q", "mv {html}/secret {made}", "journal"),
    ("rails on shop.example q --owner anna", "../q", "mv {html}/secret {made}", "journal"),
])
def test_what_comes_into_the_place_of_what_root_has_made_is_not_taken_for_it(site, prey, words, made, swap, since):
    """A directory of root's that stood beside becomes nobody else's; and no pipe is waited for."""
    html = site.sites / "shop.example/www/html"
    (html / made.partition("/www")[0] / "d").mkdir(parents=True)
    (html / made.partition("/www")[0]).chmod(0o776)
    (html / "b.example").mkdir(exist_ok=True)
    give(html.parent.parent)
    (html / "b.example/secret/d").mkdir(parents=True)
    (html / "b.example/secret").chmod(0o700)
    (html / "b.example/secret/file").touch()
    swap = (f"[ -e {site.root}/.zpweb/{since} ] && [ -d {html / made} ] && mv {html / made} {html.parent.parent}/swapped && "
            + swap.format(html=html / "b.example", made=html / made))

    def secrets():
        status = next(html.parent.rglob("file")).parent.stat()
        return {"the directory": (status.st_uid, oct(status.st_mode))}

    assert hurt_by(site, prey, words.format(html=html), swap, secrets) == []
