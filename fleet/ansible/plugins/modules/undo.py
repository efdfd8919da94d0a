#!/usr/bin/python
"""Takes changes back."""
from __future__ import annotations

DOCUMENTATION = r"""
module: undo
short_description: Take a change of zpweb back
description:
  - Takes back all changes that carry a label, newest first, or one change by its checkpoint.
  - Where no change carries the label, or all of them are taken back, nothing is done.
version_added: 1.0.0
author: zpapache (@zpapache)
options:
  label:
    description: The label of the changes.
    type: str
  checkpoint:
    description: The checkpoint of the change, as the history tells it.
    type: int
attributes:
  check_mode:
    description: Tells exactly what a run would do.
    support: full
  diff_mode:
    description: Shows the lines.
    support: full
extends_documentation_fragment:
  - zpapache.web.common
"""

EXAMPLES = r"""
- name: Take the release back
  zpapache.web.undo:
    label: release-7
"""

RETURN = r"""
left:
  description: Directories that the changes made and that are not empty, so that they stay.
  returned: when there are some
  type: list
  elements: str
status:
  description: Why it failed, as the name of C(zpweb)'s exit status.
  returned: failure
  type: str
"""

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.zpapache.web.plugins.module_utils import zpweb


NOT_FOUND = 6


def main():
    """Runs the module."""
    module = AnsibleModule(
        argument_spec=dict(zpweb.ARGUMENTS, label={"type": "str"}, checkpoint={"type": "int"}),
        required_one_of=[["label", "checkpoint"]],
        mutually_exclusive=[["label", "checkpoint"]],
        supports_check_mode=True)
    label, checkpoint = module.params["label"], module.params["checkpoint"]
    words = ["undo", "--label", label] if label is not None else ["undo", str(checkpoint)]
    # No change carries the label any more: nothing is left to be taken back.
    result = zpweb.change(module, words, accepted=(0, NOT_FOUND) if label is not None else (0,))
    module.exit_json(**result)


if __name__ == "__main__":
    main()
