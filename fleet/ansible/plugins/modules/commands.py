#!/usr/bin/python
"""Runs commands of zpweb as one change."""
from __future__ import annotations

DOCUMENTATION = r"""
module: commands
short_description: Run commands of zpweb as one change
description:
  - One check, one commit, one reload; when one command fails, none is done.
version_added: 1.0.0
author: zpapache (@zpapache)
options:
  commands:
    description: The commands, in their order.
    type: list
    elements: dict
    required: true
    suboptions:
      command:
        description: Its words, such as C(host add).
        type: str
        required: true
      arguments:
        description: Its arguments.
        type: list
        elements: str
        default: []
      options:
        description: Its options, without their hyphens.
        type: dict
        default: {}
      password:
        description: The password of a command that needs one. It goes to standard input only.
        type: str
  ensure:
    description: Whether what exists already, or is gone already, counts as done.
    type: bool
    default: true
  label:
    description: A label of the change, by which C(undo) takes it back.
    type: str
  confirm_within:
    description: The host takes the change back by itself unless C(confirm) comes within this time, such as C(10m).
    type: str
attributes:
  check_mode:
    description: Tells exactly what a run would do.
    support: full
  diff_mode:
    description: Shows the lines; those of password files are left out.
    support: full
extends_documentation_fragment:
  - zpapache.web.common
"""

EXAMPLES = r"""
- name: Give the shop a name and a user
  zpapache.web.commands:
    commands:
      - command: host add
        arguments: [shop.example, store.example]
      - command: user add
        arguments: [shop.example, joe]
        password: "{{ joes_password }}"
"""

RETURN = r"""
commands:
  description: The number of commands.
  returned: success
  type: int
  sample: 2
status:
  description: Why it failed, as the name of C(zpweb)'s exit status.
  returned: failure
  type: str
  sample: exists
impact:
  description: Names that would lead elsewhere than before.
  returned: when there are some
  type: list
  elements: dict
"""

import json

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.zpapache.web.plugins.module_utils import zpweb

COMMAND = {
    "command": {"type": "str", "required": True},
    "arguments": {"type": "list", "elements": "str", "default": []},
    "options": {"type": "dict", "default": {}},
    "password": {"type": "str", "no_log": True},
}


def main():
    """Runs the module."""
    module = AnsibleModule(
        argument_spec=dict(
            zpweb.ARGUMENTS,
            commands={"type": "list", "elements": "dict", "required": True, "options": COMMAND},
            ensure={"type": "bool", "default": True},
            label={"type": "str"},
            confirm_within={"type": "str"}),
        supports_check_mode=True)
    params = module.params
    lines = "".join(json.dumps({field: value for field, value in command.items() if value is not None}) + "\n"
                    for command in params["commands"])
    words = ["apply", "-"] + ["--ensure"] * params["ensure"]
    for option in ("label", "confirm_within"):
        if params[option]:
            words += ["--" + option.replace("_", "-"), params[option]]
    module.exit_json(**zpweb.change(module, words, lines))


if __name__ == "__main__":
    main()
