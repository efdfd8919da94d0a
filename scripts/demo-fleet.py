"""The steps of scripts/demo-fleet, within its sandbox."""
import re
import sys

from hosts import HOSTS, Fleet

SITES = """\
web_label: release-7
web_sites:
  - {name: shop.example, host_names: [www.shop.example, store.example], tls: {certificate: ..., key: ..., port: ...}}
  - {name: old.example, state: absent}
"""
TOLD = re.compile(r"^(TASK .*|web\d .*|fatal: .*|\s+\"web\d.*|[-+] .*)$", re.M)


def show(fleet, playbook, *options, expected=0, **variables):
    print(f"\n# ansible-playbook -i hosts zpapache.web.{playbook} -e @release.yml {' '.join(options)}", flush=True)
    status, changed, told = fleet.play(playbook, *options, **variables)
    for line in TOLD.findall(told):
        print("    " + line[:150])
    if (status != 0) != (expected != 0):
        sys.exit(told + f"\ndemo-fleet: ansible-playbook ended with {status}")
    return changed


def main():
    fleet = Fleet()
    before = fleet.configurations()
    print(f"{HOSTS} hosts, each with an sshd and an Apache that serves shop.example and old.example. release.yml:\n\n{SITES}")
    sites = [{"name": "shop.example", "host_names": ["www.shop.example", "store.example"], "tls": fleet.certify(wrong=[1])},
             {"name": "old.example", "state": "absent"}]
    release = {"web_sites": sites, "web_label": "release-7", "web_health": [f"http://{{{{ ansible_host }}}}:{fleet.port}/"]}
    print("On the first host the key is another certificate's. It refuses, and no other host is touched:")
    assert show(fleet, "rollout", expected=2, **release) == {"web1": 0} and fleet.configurations() == before
    print("\nWith the right key the audit tells what differs, and the rollout makes it so, one host first:")
    fleet.certify(wrong=[])
    show(fleet, "audit", **release)
    assert set(show(fleet, "rollout", **release).values()) == {1}
    assert len(fleet.answering()) == HOSTS
    print("\nAll of it is taken back:")
    show(fleet, "undo", **release)
    assert fleet.configurations() == before
    fleet.stop()
    print("\nDone: every configuration is byte for byte what it was.")


main()
