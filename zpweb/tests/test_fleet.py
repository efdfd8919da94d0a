"""The collection for Ansible, over ssh, on hosts that are mount namespaces with an sshd and an Apache each."""
import os
import signal

import pytest

from conftest import await_true
from hosts import HOSTS, Fleet


@pytest.fixture(scope="module")
def fleet():
    made = Fleet()
    yield made
    made.stop()


CHANGED = [{"name": "shop.example", "host_names": ["www.shop.example", "store.example"]}, {"name": "old.example", "state": "absent"}]


def test_a_rollout_that_is_interrupted_an_audit_and_the_way_back(fleet):
    before = fleet.configurations()
    release = {"web_sites": CHANGED, "web_label": "release-7", "web_health": [f"http://{{{{ ansible_host }}}}:{fleet.port}/"]}
    status, changed, told = fleet.play("rollout", "--check", "--diff", **release)
    assert status == 0 and len(changed) == HOSTS and set(changed.values()) == {1} and "+    ServerAlias" in told, told
    assert fleet.configurations() == before
    killed = fleet.begin("rollout", **release)
    await_true(lambda: fleet.configurations()[0] != before[0], 60)
    os.killpg(killed.pid, signal.SIGKILL)
    killed.communicate()
    assert fleet.configurations()[1:] == before[1:] and fleet.answering() == [*range(1, HOSTS + 1)]
    status, changed, told = fleet.play("audit", **release)
    assert status == 0 and told.count("host add shop.example store.example") == HOSTS - 1 and told.count("as it is to be") == 1, told
    status, changed, told = fleet.play("rollout", **release)
    assert status == 0 and changed == {f"web{n}": int(n > 1) for n in range(1, HOSTS + 1)}, told
    assert all(b"store.example" in each for each in fleet.configurations())
    status, changed, told = fleet.play("rollout", **release)
    assert status == 0 and len(changed) == HOSTS and set(changed.values()) == {0}, told
    status, changed, told = fleet.play("undo", **release)
    assert status == 0 and len(changed) == HOSTS and set(changed.values()) == {1}, told
    assert fleet.configurations() == before


def test_a_canary_whose_controller_died_heals_itself(fleet):
    before = fleet.configurations()
    killed = fleet.begin("rollout", web_sites=CHANGED, web_label="healed", web_soak=60, web_confirm_within="3s")
    await_true(lambda: fleet.configurations()[0] != before[0], 60)
    os.killpg(killed.pid, signal.SIGKILL)
    killed.communicate()
    await_true(lambda: fleet.configurations() == before, 60)
    assert fleet.answering() == [*range(1, HOSTS + 1)]


def test_a_canary_whose_key_is_anothers_stops_the_fleet(fleet):
    before = fleet.configurations()
    status, changed, told = fleet.play("rollout", web_sites=[{"name": "shop.example", "tls": fleet.certify(wrong=[1])}], web_label="tls")
    assert status != 0 and changed == {"web1": 0} and fleet.configurations() == before
    assert '"status": "refused"' in told and "is not the key" in told, told
    assert fleet.answering() == [*range(1, HOSTS + 1)]
