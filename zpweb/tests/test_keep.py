"""Random configurations: every change leaves what it was not asked about byte for byte, and goes back."""
import os
import random

ROUNDS = int(os.environ.get("ZPWEB_ROUNDS", 60))
FAST = ("--no-check", "--no-reload")


def random_text(chance, port):
    lines = []

    def filler(indent=""):
        for _ in range(chance.randrange(4)):
            lines.append(chance.choice(["", "", "# note", "#ServerName no.example", "\t# indented", "  ", "#"]))
            if lines[-1].strip() == "" and chance.random() < 0.3:
                lines.append("")

    filler()
    for i in range(chance.randrange(2, 6)):
        name = f"s{i}.example"
        filler()
        lines.append(f"<VirtualHost 127.0.0.1:{port}>")
        filler()
        lines.append(f"\tServerName {name}")
        for extra in chance.sample(["\tServerAlias www.%s" % name, "  DocumentRoot \"/srv/%s\"" % name,
                                    "\tAlias /x /srv/x", "\tRedirect /a http://b.example/", "\tInclude /dev/null",
                                    "\tServerAlias more.%s" % name,
                                    "\t<Directory /srv/d>\n\t\t# inside\n\n\t\tDirectoryIndex i.html\n\t</Directory>",
                                    "   <Directory \"/srv/%s\">\n\tOptions None\n</Directory>" % name], 5):
            filler()
            lines.extend(extra.split("\n"))
        filler()
        lines.append("</VirtualHost>")
        filler()
    text = "\n".join(lines) + chance.choice(["\n", "", "\n\n\n"])
    return text.replace("\n", "\r\n") if chance.random() < 0.25 else text


def test_changes_of_random_configurations(machine):
    for seed in range(ROUNDS):
        chance = random.Random(seed)
        text = random_text(chance, machine.port)
        machine.conf.write_bytes(text.encode())
        name = f"s{chance.randrange(2)}.example"
        change, back = chance.choice([
            (["site", "stop", name], ["site", "start", name]),
            (["site", "set", name, "--error-document", "404=/x"], ["site", "set", name, "--error-document", "404="]),
            (["directive", "add", "Timeout", "9", "--site", name], ["directive", "delete", "Timeout", "--site", name]),
            (["vdir", "set", name, "/srv/new"], ["vdir", "delete", name, "/srv/new"]),
            (["site", "create", "new.example", "--address", "127.0.0.1", "--owner", "anna", "--path", machine.sites, "--listen"],
             None),
            (["site", "delete", name], None), (["site", "suspend", name], None),
        ])
        done = machine.run(*change, *FAST)
        if "no DocumentRoot" in done.err:
            assert machine.conf.read_bytes().decode() == text
            continue
        assert done.status == 0, (seed, change, done)
        after = machine.conf.read_bytes().decode()
        lost = [line for line in kept_lines(text, name if change[1] != "create" else None)
                if line.rstrip("\r") not in after.replace("\r", "").split("\n")]
        assert not lost, (seed, change, lost)
        if back:
            assert machine.run(*back, *FAST).status == 0, (seed, back)
        else:
            assert machine.run("undo", *FAST).status == 0
        assert machine.conf.read_bytes().decode() == text, (seed, change)


def kept_lines(text, name):
    """The lines that are in no block of the site."""
    kept, block = [], None
    for line in text.split("\n"):
        if block is None and line.strip().startswith("<VirtualHost"):
            block = []
        (kept if block is None else block).append(line)
        if block is not None and line.strip().startswith("</VirtualHost"):
            kept += [] if name and any(f"\tServerName {name}" == entry.rstrip("\r") for entry in block) else block
            block = None
    return kept
