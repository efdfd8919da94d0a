#!/usr/bin/python
"""Makes the websites of a server what a list says."""
from __future__ import annotations

DOCUMENTATION = r"""
module: sites
short_description: Make the websites of an Apache HTTP Server what a list says
description:
  - Plans the commands of C(zpweb) that make each site what is asked for and runs them as one change, which the server
    itself has checked. One call a host, whatever the number of sites.
  - What a site's entry does not name is left as it is. A list or a dictionary is taken whole.
version_added: 1.0.0
author: zpapache (@zpapache)
options:
  sites:
    description: The sites.
    type: list
    elements: dict
    required: true
    suboptions:
      name:
        description: Its server name.
        type: str
        required: true
      state:
        description: What becomes of the site. C(present) makes it run.
        type: str
        choices: [present, absent, stopped, suspended]
        default: present
      host_names:
        description: Its further names.
        type: list
        elements: str
      index:
        description: Its index files.
        type: list
        elements: str
      alias:
        description: Directories under URL paths.
        type: dict
      script_alias:
        description: Directories of scripts under URL paths.
        type: dict
      redirect:
        description: Redirections of URL paths.
        type: dict
      error_document:
        description: Pages for errors.
        type: dict
      root:
        description: Its document root.
        type: path
      address:
        description: The address of a site that is made.
        type: str
      owner:
        description: The account that owns the directories of a site that is made.
        type: str
      path:
        description: The parent of the home of a site that is made.
        type: path
  policy:
    description: With C(exclusive), sites that the list does not name are deleted.
    type: str
    choices: [merged, exclusive]
    default: merged
  confirm_removals:
    description: The number of sites that C(exclusive) deletes.
    type: int
    default: 0
  label:
    description: A label of the change, by which C(undo) takes it back.
    type: str
attributes:
  check_mode:
    description: Tells exactly what a run would do.
    support: full
  diff_mode:
    description: Shows the lines.
    support: full
extends_documentation_fragment:
  - zpapache.web.common
seealso:
  - module: zpapache.web.undo
"""

EXAMPLES = r"""
- name: Have the shop, and no trace of the old one
  zpapache.web.sites:
    sites:
      - name: shop.example
        address: 192.0.2.7
        owner: anna
        host_names: [www.shop.example]
        redirect:
          /old: https://shop.example/new
      - name: old.example
        state: absent
"""

RETURN = r"""
commands:
  description: The commands that were run, or would be.
  returned: success
  type: list
  elements: dict
  sample: [{"text": "host add shop.example www.shop.example", "command": "host add",
            "arguments": ["shop.example", "www.shop.example"]}]
removals:
  description: The sites that C(exclusive) deleted, or would.
  returned: with C(exclusive), when there are some
  type: list
  elements: str
status:
  description: Why it failed, as the name of C(zpweb)'s exit status.
  returned: failure
  type: str
  sample: refused
impact:
  description: Names that would lead elsewhere than before.
  returned: when there are some
  type: list
  elements: dict
"""

import json

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.zpapache.web.plugins.module_utils import zpweb

TEXTS = {"type": "list", "elements": "str"}
SITE = {
    "name": {"type": "str", "required": True},
    "state": {"type": "str", "choices": ["present", "absent", "stopped", "suspended"], "default": "present"},
    "host_names": TEXTS,
    "index": TEXTS,
    "alias": {"type": "dict"},
    "script_alias": {"type": "dict"},
    "redirect": {"type": "dict"},
    "error_document": {"type": "dict"},
    "root": {"type": "path"},
    "address": {"type": "str"},
    "owner": {"type": "str"},
    "path": {"type": "path"},
}


def document(sites):
    """The sites as zpweb reads them; keys and values of dictionaries are texts."""
    result = []
    for site in sites:
        entry = {}
        for field, value in site.items():
            if isinstance(value, dict):
                value = {str(key): str(each) for key, each in value.items()}
            if value is not None:
                entry[field] = value
        entry["state"] = {"present": "running"}.get(site["state"], site["state"])
        result.append(entry)
    return json.dumps({"sites": result})


def main():
    """Runs the module."""
    module = AnsibleModule(
        argument_spec=dict(
            zpweb.ARGUMENTS,
            sites={"type": "list", "elements": "dict", "required": True, "options": SITE},
            policy={"type": "str", "choices": ["merged", "exclusive"], "default": "merged"},
            confirm_removals={"type": "int", "default": 0},
            label={"type": "str"}),
        supports_check_mode=True)
    params = module.params
    words = ["apply", "--state", "-"]
    if params["label"]:
        words += ["--label", params["label"]]
    if params["policy"] == "exclusive":
        words += ["--exclusive", "--confirm-removals", str(params["confirm_removals"])]
    module.exit_json(**zpweb.change(module, words, document(params["sites"])))


if __name__ == "__main__":
    main()
