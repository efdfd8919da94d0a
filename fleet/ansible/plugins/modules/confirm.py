#!/usr/bin/python
"""Lets changes stand that wait for it."""
from __future__ import annotations

DOCUMENTATION = r"""
module: confirm
short_description: Let a change of zpweb stand that was made with a time to confirm it
description:
  - A change that was made with C(confirm_within) is taken back by its host unless this comes in time.
  - Where nothing waits for a confirmation, nothing is done. A change that was taken back already is a failure.
version_added: 1.0.0
author: zpapache (@zpapache)
options:
  label:
    description: The label of the changes; without it, all that wait.
    type: str
attributes:
  check_mode:
    description: Confirms nothing.
    support: full
extends_documentation_fragment:
  - zpapache.web.common
"""

EXAMPLES = r"""
- name: Let the release stand
  zpapache.web.confirm:
    label: release-7
"""

RETURN = r"""
confirmed:
  description: The checkpoints of the changes.
  returned: when there are some
  type: list
  elements: str
"""

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.zpapache.web.plugins.module_utils import zpweb


NOT_FOUND = 6


def main():
    """Runs the module."""
    module = AnsibleModule(argument_spec=dict(zpweb.ARGUMENTS, label={"type": "str"}), supports_check_mode=True)
    label = module.params["label"]
    words = ["confirm"] + (["--label", label] if label is not None else [])
    module.exit_json(**zpweb.change(module, words, accepted=(0, NOT_FOUND)))


if __name__ == "__main__":
    main()
