"""Runs zpweb and turns its answer into a module's result."""
from __future__ import annotations

import json

LOCKED = 5

ARGUMENTS = {
    "program": {"type": "path", "default": "zpweb"},
    "conf": {"type": "path"},
    "lock_timeout": {"type": "int", "default": 30},
    "retries": {"type": "int", "default": 3},
}


def run(module, words, data=None, accepted=(0,)):
    """The answer of one call. Input goes to standard input, so that no password stands on a command line."""
    params = module.params
    command = [params["program"], "--json", "--lock-timeout", str(params["lock_timeout"])]
    if params["conf"]:
        command += ["--conf", params["conf"]]
    for _unused in range(params["retries"] + 1):
        status, out, err = module.run_command(command + words, data=data, binary_data=False)
        if status != LOCKED:
            break
    try:
        answer = json.loads(out)
    except ValueError:
        answer = {}
    if status not in accepted:
        module.fail_json(msg=answer.get("message") or err.strip() or f"zpweb ended with {status}",
                         status=answer.get("status", "error"), rc=status, impact=answer.get("impact", []))
    return answer


def change(module, words, data=None, accepted=(0,)):
    """A changing call; a dry run in check mode."""
    words = words + ["--dry-run"] * module.check_mode + ["--diff"] * module._diff  # pylint: disable=protected-access
    answer = run(module, words, data, accepted)
    result = {"changed": answer.get("changed", False)}
    if answer.get("diff"):
        result["diff"] = {"prepared": answer["diff"]}
    for field in ("checkpoint", "impact", "commands", "removals", "left", "confirmed"):
        if field in answer:
            result[field] = answer[field]
    return result
