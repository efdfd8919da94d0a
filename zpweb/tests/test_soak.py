"""Many changes under load (scripts/soak makes two thousand of them)."""
import os
import random
import subprocess
from pathlib import Path

from conftest import await_true

CHANGES = int(os.environ.get("ZPWEB_SOAK", 12))


def descriptors_and_memory(pid):
    memory = next(line for line in Path(f"/proc/{pid}/status").read_text().splitlines() if line.startswith("VmRSS"))
    return len(os.listdir(f"/proc/{pid}/fd")), int(memory.split()[1])


def test_no_request_to_an_untouched_site_fails_while_others_change(live):
    for i in range(5):
        assert live.create(f"s{i}.example", "--no-reload").status == 0
    live.do("server", "reload")
    pid = int((live.root / "run/httpd.pid").read_text())
    before = live.text()
    chance = random.Random(1)
    load = subprocess.Popen(["sh", "-c", f"while [ ! -e {live.root}/run/stop ]; do ab -q -n 300 -c 2 -H 'Host: shop.example' "
                             f"http://127.0.0.1:{live.port}/ || echo 'Failed requests: all'; sleep 0.2; done"],
                            stdout=subprocess.PIPE, text=True)
    begun = None
    for number in range(CHANGES):
        name = f"s{chance.randrange(5)}.example"
        change, back = chance.choice([(("site", "stop", name), ("site", "start", name)),
                                      (("host", "add", name, "more." + name), ("host", "remove", name, "more." + name)),
                                      (("site", "set", name, "--alias", "/x=/tmp"), ("undo",)),
                                      (("site", "suspend", name), ("undo",))])
        live.do(*change)
        live.do(*back)
        if number == CHANGES // 10:
            begun = descriptors_and_memory(pid)
    ended = descriptors_and_memory(pid)
    (live.root / "run/stop").touch()
    told = load.communicate()[0]
    failed = [line for line in told.splitlines() if line.startswith(("Failed requests", "Non-2xx")) and not line.endswith(" 0")]
    complete = sum(int(line.split()[-1]) for line in told.splitlines() if line.startswith("Complete requests"))
    print(f"\nsoak: {2 * CHANGES} changes, {complete} requests, {len(failed)} runs with failures, descriptors and kB {begun} -> {ended}")
    assert complete and not failed, failed
    assert live.text() == before and not live.strays()
    assert ended[0] <= begun[0] + 2 and ended[1] <= begun[1] * 1.2
    assert len(list((live.root / ".zpweb/checkpoints").iterdir())) <= 50
    await_true(lambda: live.get("shop.example") == (200, "the shop"))
