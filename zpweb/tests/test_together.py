"""Runs that wait side by side, made as one change by the one that gets the lock."""
import fcntl
import json
import os
import re
import subprocess
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from conftest import OWNER, ZPFAULT, ZPWEB, Answer, await_true

FAST = ("--no-check", "--no-reload")
STEP = int(os.environ.get("ZPWEB_DISK_STEP", 1))


class Queue:
    """Runs that wait for the lock, which the test holds until they do."""

    def __init__(self, machine):
        self.machine, self.runs = machine, []
        self.requests = machine.root / ".zpweb/requests"
        self.lock = open(machine.root / ".zpweb/lock", "r+")
        fcntl.flock(self.lock, fcntl.LOCK_EX)

    def placed(self):
        return [p for p in self.requests.iterdir() if re.fullmatch(r"[\d.-]+", p.name)] if self.requests.exists() else []

    def add(self, *words, before=(), env=None):
        count, alone = len(self.placed()), "--allow-impact" in words  # which leaves no request
        command = [*before, ZPWEB, "--conf", self.machine.conf, "--json", *words]
        self.runs.append(subprocess.Popen(list(map(str, command)), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                          env={**os.environ, **(env or {})}))
        waits = lambda: re.search(rf"-> .* {self.runs[-1].pid} ", Path("/proc/locks").read_text())
        await_true(lambda: (waits() if alone else len(self.placed()) == count + 1) or self.runs[-1].poll() is not None)
        return self.runs[-1]

    def release(self):
        self.lock.close()
        answers = []
        for run in self.runs:
            run.stdout, run.stderr, run.returncode = *run.communicate(timeout=60), run.returncode
            answers.append(Answer(run))
        return answers


def sites(machine, count):
    for i in range(count):
        assert machine.create(f"s{i}.example", *FAST).status == 0
    return [f"s{i}.example" for i in range(count)]


def log_of(machine):
    return [json.loads(line) for line in (machine.root / ".zpweb/audit.log").read_text().splitlines()]


def reloads(machine):
    return (machine.root / "error.log").read_text().count("SIGUSR1 received")


def test_each_gets_its_own_result_and_its_own_undo(live):
    """Eight wait: five are made, three are not, whatever those beside them do. One of them changes nothing."""
    names = sites(live, 5)
    before, known, reloaded = live.text(), len(log_of(live)), reloads(live)
    queue = Queue(live)
    wanted = {("host", "add", names[0], "a.example"): (0, True), ("host", "add", "none.example", "b.example"): (6, False),
              ("host", "add", names[1], "c.example"): (0, True), ("host", "add", names[2], "a.example"): (1, False),
              ("directive", "add", "Rubbish", "soon", "--site", names[1]): (3, False), ("site", "set", names[3], "--index", "x.php"): (0, True),
              ("host", "add", names[2], "d.example", "--label", "mine"): (0, True),
              ("vdir", "delete", names[4], "/srv", "--ensure"): (0, False)}
    for words in wanted:
        queue.add(*words, env={"SUDO_USER": "carla"} if "mine" in words else None)
    answers = queue.release()
    assert [(a.status, a.json["changed"]) for a in answers] == list(wanted.values()), answers
    assert "Rubbish" in answers[4].json["message"]
    assert answers[3].json["message"].count("a.example") and answers[6].json["host"] == "d.example"
    assert reloads(live) - reloaded <= 4, "guilty ones cost halves, not a reload for each"
    done = {a.json["checkpoint"]: words for a, words in zip(answers, wanted) if a.json.get("checkpoint")}
    assert all(a.json["judged"] for a in answers if a.json.get("checkpoint"))
    assert len(done) == 4 and sorted(done) == list(range(min(done), min(done) + 4))
    lines = [line for line in log_of(live)[known:] if line["result"] == "done"]
    assert {line["checkpoint"]: tuple(line["command"])[-len(done[line["checkpoint"]]):] for line in lines} == done
    assert [(line.get("label"), line.get("login")) for line in lines if line["command"][-1] == "mine"] == [("mine", "carla")]
    assert not live.strays()
    live.do("undo")
    left = [number for number, words in done.items() if (words[3] if words[0] == "host" else words[4]) in live.text()]
    assert sorted(left) == sorted(done)[:-1]
    for number in sorted(done)[:-1]:
        live.do("undo", number)
    assert live.text() == before
    queue, reloaded = Queue(live), reloads(live)
    queue.add("host", "add", names[0], "a.example", "--no-reload")
    queue.add("host", "add", names[0], "b.example")
    assert [answer.status for answer in queue.release()] == [0, 0]
    await_true(lambda: reloads(live) == reloaded + 1)  # each has its own conditions
    queue = Queue(live)
    for words in ((names[0], "c.example", "--no-check"), (names[1], "d.example"), ("shop.example", "*.e.example"), (names[2], "g.example", "--exact")):
        queue.add("host", "add", *words)
    assert [answer.json["judged"] for answer in queue.release()] == [False, True, True, True] and "\n\nPidFile" not in live.text(), "the library's own result"
    for one, first, other, status in (("host add s0.example f.example --allow-impact", 0, "directive delete ServerAlias --site s3.example", 3),
                               ("module load headers", 0, "directive add Define OF\0other --site s0.example", 1),
                               ("site rename s3.example s0.example", 7, "directive delete ServerAlias --site s3.example", 3)):
        live.conf.write_text("Define OF me\n" + live.text().replace("ServerAdmin ", "ServerAdmin ${OF}"))
        queue = Queue(live)
        for words in (one, other):
            queue.add(*[word.replace("\0", " ") for word in words.split(" ")])
        assert [answer.status for answer in queue.release()] == [first, status], "what one may do is not the other's"
    queue, home, lines = Queue(live), live.sites / "j.example", live.root / "www/lines"
    lines.write_text(json.dumps({"command": "site set", "arguments": [names[3]], "options": {"mode": "0710"}}))
    queue.add("site", "create", "j.example", "--address", "127.0.0.1", "--owner", OWNER, "--path", live.sites)
    queue.add("apply", lines)
    answers = queue.release()
    assert [each["command"] for each in answers[1].json["results"]] == ["site set"] and home.exists(), answers
    assert (live.sites / names[3] / "www/html").stat().st_mode & 0o777 == 0o710
    live.do("undo", answers[0].json["checkpoint"])
    assert not (home / "www").exists()
    queue = Queue(live)
    for name in ("www.shop.example", "*.e.example"):
        queue.add("host", "remove", "shop.example", name)
    live.publish(names[0], "the first")
    queue.add("site", "suspend", names[0])  # of which nobody is warned
    answers = queue.release()
    assert not [answer for answer in answers if "answers 503" in answer.err] and live.get(names[0])[0] == 503
    assert all("www.shop.example on" in answer.err and "still reaches" in answer.err for answer in answers[:2]), answers


def test_waiters_that_go_away(site):
    names = sites(site, 4)
    queue = Queue(site)
    queue.add("host", "add", names[0], "a.example", *FAST)
    killed = queue.add("host", "add", names[1], "b.example", *FAST)
    late = queue.add("host", "add", names[2], "c.example", *FAST, "--lock-timeout", "1")
    half = [json.dumps({"command": "host add", "arguments": [name, "e.example"]}) for name in (names[1], "none.example")]
    (site.root / "www/half").write_text("\n".join(half))
    queue.add("apply", site.root / "www/half", *FAST)
    queue.add("host", "add", names[3], "d.example", *FAST)
    killed.kill()
    late.wait(10)
    begun = time.monotonic()
    assert site.run("host", "add", names[2], "c.example", *FAST, "--lock-timeout", "0").status == 5 and time.monotonic() - begun < 0.9
    answers = queue.release()
    assert [a.status for a in answers] == [0, -9, 5, 6, 0] and "waiting" in answers[2].err
    assert [name + ".example" in site.text() for name in "abcde"] == [True, False, False, True, False]
    assert not site.strays()
    queue, home, known = Queue(site), site.sites / names[0], len(log_of(site))
    queue.add("host", "add", names[1], "f.example", *FAST, before=(ZPFAULT, "meanwhile", "renameat2:1"), env={"ZPFAULT_RUN": f"mv {home} {home}.away; mkdir {home}"})
    queue.add("site", "delete", names[0], "--remove-folders", *FAST)
    answers = queue.release()
    assert [a.status for a in answers] == [0, 1] and "could not be removed" in answers[1].err and home.exists(), answers
    assert [line["exit"] for line in log_of(site)[known:]] == [0, 1], "what stands is not made once more"


def test_a_leader_that_is_killed_at_any_step(site):
    """What it had taken along is made exactly once, by it or by those who waited."""
    names = sites(site, 3)
    before = site.text()
    outcomes, warned, calls, number = [], set(), None, 1
    while calls is None or number <= len(calls):
        known = len(log_of(site))
        queue = Queue(site)
        kind = ("none", 0) if calls is None else ("kill", calls[number - 1])
        queue.add("host", "add", names[0], "h0.example", *FAST, before=(ZPFAULT, *kind), env={"ZPFAULT_ALL": "1"})
        queue.add("host", "add", names[1], "h1.example", *FAST)
        queue.add("directive", "add", "Redirect", "/ http://h2.example/", "--site", names[2], *FAST)
        answers = queue.release()
        if calls is None:
            traced = [line.split(" ", 2)[1] for line in answers[0].err.splitlines() if re.match(r"\d+ \w+ /", line)]
            calls = [n for n, name in enumerate(traced, 1) if re.match("rename|link|unlink|mkdir", name)][::STEP]
            number = 0
        assert [a.status for a in answers[1:]] == [0, 0] and [answers[1].json[field] for field in ("site", "host", "changed")] == [names[1], "h1.example", True], answers
        assert {a.json["checkpoint"] for a in answers[1:]} <= {line.get("checkpoint") for line in log_of(site)[known:]}, answers
        warned |= {"along with its own but may not have reloaded" in a.err for a in answers[1:]}
        text = site.text()
        assert [text.count(f"h{i}.example") for i in (1, 2)] == [1, 1], (number, text)
        logged = [str(line["command"]) for line in log_of(site)[known:] if line["changed"]]
        assert all(sum(f"h{i}.example" in words for words in logged) in (1, 2) for i in (1, 2)), logged
        outcomes.append("h0.example" in text)
        for _ in range(3 if outcomes[-1] else 2):
            site.do("undo", *FAST)
        assert site.text() == before and not site.strays(), number
        assert not re.search("(host|directive) add", site.run("undo", "--dry-run", *FAST).err), number
        number += 1
    assert set(outcomes) == warned == {False, True}


def test_a_change_whose_answer_cannot_be_written_is_not_made_again(site):
    names = sites(site, 2)
    for fault in ("none", "ENOSPC"):
        queue = Queue(site)
        before = (ZPFAULT, fault, "0" if fault == "none" else call)
        queue.add("host", "add", names[0], f"{fault}.example", *FAST, before=before, env={"ZPFAULT_ALL": "1"})
        queue.add("directive", "add", "Redirect", f"/{fault} http://h.example/", "--site", names[1], *FAST)
        answers = queue.release()
        call = next(line.split()[0] for line in answers[0].err.splitlines() if re.match(r"\d+ openat .*\.answer\.new$", line)) if fault == "none" else ""
        assert site.text().count(f"/{fault} ") == 1, answers
    assert answers[1].status == 1 and "could not write down what came of it" in answers[1].err and not site.strays(), answers


def test_one_that_takes_another_back_is_a_change_of_its_own(site):
    (name,) = sites(site, 1)
    before, queue = site.text(), Queue(site)
    for word in ("add", "remove"):
        queue.add("host", word, name, "a.example", *FAST)
    assert [a.json["changed"] for a in queue.release()] == [True, True] and site.text() == before
    for there in (True, False):
        site.do("undo", *FAST)
        assert ("a.example" in site.text()) == there


def test_who_was_answered_goes_first(site):
    """It would come for its answer only after this change, and its next one could not be made along with it."""
    (name,) = sites(site, 1)
    requests, queue = site.root / ".zpweb/requests", Queue(site)
    waiter = queue.add("host", "add", name, "b.example", *FAST)
    taken = open(requests / "1-1.taken", "w")
    taken.write(queue.placed()[0].read_text())
    taken.flush()
    waiter.kill()
    queue.release()
    (requests / "1-1.answer").write_text("{}")
    os.chmod(taken.name, 0o600)
    fcntl.flock(taken, fcntl.LOCK_EX)
    run = subprocess.run([ZPFAULT, "none", "0", ZPWEB, "--conf", site.conf, "host", "add", name, "a.example", *FAST],
                         capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"})
    assert run.returncode == 0 and "a.example" in site.text() and "b.example" not in site.text(), "what is answered is not made again"
    assert re.search(r"rename /.*/requests/new-", run.stderr), "it waited in its turn, and as long as it has to"


def test_many_writers_beside_a_running_server(live):
    names = sites(live, 8)
    known, reloaded = len(log_of(live)), reloads(live)

    def write(name):
        for i in range(10):
            live.do("host", "add", name, f"h{i}.{name}", "--lock-timeout", "120")

    with ThreadPoolExecutor(8) as pool:
        list(pool.map(write, names))
    text = live.text()
    assert all(text.count(f" h{i}.{name}") == 1 for name in names for i in range(10))
    lines = log_of(live)[known:]
    assert len({line["checkpoint"] for line in lines}) == len(lines) == 80 and not live.strays()
    assert reloads(live) - reloaded < 40
