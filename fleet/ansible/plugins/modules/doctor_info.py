#!/usr/bin/python
"""Tells what zpweb doctor finds."""
from __future__ import annotations

DOCUMENTATION = r"""
module: doctor_info
short_description: Tell what sleeps in a server's configuration until its next restart
description:
  - What C(zpweb doctor) finds. Findings are no failure of the module.
version_added: 1.0.0
author: zpapache (@zpapache)
attributes:
  check_mode:
    description: Changes nothing.
    support: full
extends_documentation_fragment:
  - zpapache.web.common
"""

EXAMPLES = r"""
- name: Ask the doctor
  zpapache.web.doctor_info:
  register: doctor
  failed_when: doctor.findings | length > 0
"""

RETURN = r"""
findings:
  description: What was found.
  returned: success
  type: list
  elements: dict
  sample: [{"finding": "missing document root", "place": "/etc/apache2/apache2.conf:12", "detail": "/srv/gone"}]
"""

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.zpapache.web.plugins.module_utils import zpweb


def main():
    """Runs the module."""
    module = AnsibleModule(argument_spec=dict(zpweb.ARGUMENTS), supports_check_mode=True)
    answer = zpweb.run(module, ["doctor"], accepted=(0, 1))
    if "findings" not in answer:
        module.fail_json(msg=answer.get("message", "zpweb doctor did not answer"), status=answer.get("status", "error"))
    module.exit_json(changed=False, findings=answer["findings"])


if __name__ == "__main__":
    main()
