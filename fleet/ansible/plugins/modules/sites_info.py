#!/usr/bin/python
"""Tells what the websites of a server are."""
from __future__ import annotations

DOCUMENTATION = r"""
module: sites_info
short_description: Tell what the websites of an Apache HTTP Server are
description:
  - What C(zpweb export) prints. The list can be given to M(zpapache.web.sites) of another host.
version_added: 1.0.0
author: zpapache (@zpapache)
options:
  names:
    description: The sites; all without it.
    type: list
    elements: str
    default: []
attributes:
  check_mode:
    description: Changes nothing.
    support: full
extends_documentation_fragment:
  - zpapache.web.common
"""

EXAMPLES = r"""
- name: Read what the shop is
  zpapache.web.sites_info:
    names: [shop.example]
  register: shop
"""

RETURN = r"""
sites:
  description: The sites.
  returned: success
  type: list
  elements: dict
  sample: [{"name": "shop.example", "state": "running", "host_names": ["www.shop.example"]}]
"""

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.zpapache.web.plugins.module_utils import zpweb


def main():
    """Runs the module."""
    module = AnsibleModule(
        argument_spec=dict(zpweb.ARGUMENTS, names={"type": "list", "elements": "str", "default": []}),
        supports_check_mode=True)
    answer = zpweb.run(module, ["export", "--"] + module.params["names"])
    module.exit_json(changed=False, sites=answer["sites"])


if __name__ == "__main__":
    main()
