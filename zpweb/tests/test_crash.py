"""Many writers, full disks."""
import os
import subprocess
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import pytest


# More for a night: ZPWEB_CHANGES=500 scripts/sandbox /usr/bin/python3 -m pytest zpweb/tests
WRITERS, CHANGES = int(os.environ.get("ZPWEB_WRITERS", 32)), int(os.environ.get("ZPWEB_CHANGES", 50))
DISK_STEP = int(os.environ.get("ZPWEB_DISK_STEP", 1))
FAST = ("--no-check", "--no-reload", "--lock-timeout", "300")


def site_blocks(machine, names):
    text = "".join(f"\n<VirtualHost 127.0.0.1:{machine.port}>\n\tServerName {n}\n\tServerAlias www.{n}\n</VirtualHost>\n"
                   for n in names)
    machine.conf.write_text(machine.text() + text)


def test_many_writers_lose_nothing(machine):
    names = [f"s{i}.example" for i in range(WRITERS)]
    site_blocks(machine, names)

    def write(name):
        for i in range(CHANGES):
            answer = machine.run("host", "add", name, f"h{i}.{name}", *FAST)
            assert answer.status == 0, answer

    with ThreadPoolExecutor(WRITERS) as pool:
        list(pool.map(write, names))
    for name in names:
        wanted = "\tServerAlias " + " ".join([f"www.{name}"] + [f"h{i}.{name}" for i in range(CHANGES)]) + "\n"
        assert wanted in machine.text()
    assert not machine.strays()


@pytest.fixture
def small_disk(machine):
    """The machine's folder on a disk of its own, whose free space can be set."""
    conf = machine.text()
    subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64m", "tmpfs", machine.root], check=True)
    for folder in ("sites", "run", "www", "included"):
        (machine.root / folder).mkdir()
    machine.conf.write_text(conf)
    yield machine
    subprocess.run(["umount", "-l", machine.root])


def fill(machine, free):
    ballast = machine.root / "www/ballast"
    ballast.unlink(missing_ok=True)
    space = os.statvfs(machine.root)
    with ballast.open("wb") as file:
        os.posix_fallocate(file.fileno(), 0, max(space.f_bavail * space.f_frsize - free, 1))
    return ballast


def test_a_full_disk_at_any_stage_leaves_everything_as_it_was(small_disk):
    site_blocks(small_disk, [f"s{i}.example" for i in range(300)])
    small_disk.do("host", "add", "s1.example", "a.example", *FAST)
    size = len(small_disk.text())
    ended = set()
    commands = [["site", "create", "shop.example", "--address", "127.0.0.1", "--owner", "anna", "--path",
                 small_disk.sites], ["site", "stop", "s7.example"], ["host", "add", "s1.example", "b.example"]]
    for command in commands:
        for pages in list(range(0, 24, DISK_STEP)) + list(range(24, size * 6 // 4096, 3 * DISK_STEP)):
            before = small_disk.text()
            ballast = fill(small_disk, pages * 4096)
            answer = small_disk.run(*command, *FAST)
            ballast.unlink()
            ended.add(answer.status)
            if answer.status == 0:
                assert small_disk.text() != before
                small_disk.do("undo", *FAST)
            assert answer.status in (0, 1) and not small_disk.strays(), answer
            assert small_disk.text() == before, f"{pages} pages free: {command}"
            small_disk.do("host", "add", "s1.example", "c.example", *FAST)
            small_disk.do("undo", *FAST)
            assert not small_disk.strays() and not list(small_disk.sites.iterdir())
    assert ended == {0, 1}
