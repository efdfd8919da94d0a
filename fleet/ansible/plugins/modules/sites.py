#!/usr/bin/python
"""Makes the websites of a server what a list says."""
from __future__ import annotations

DOCUMENTATION = r"""
module: sites
short_description: Make the websites of an Apache HTTP Server what a list says
description:
  - Plans the commands of C(zpweb) that make each site what is asked for and runs them as one change, which the server
    itself has checked. One call a host, whatever the number of sites.
  - What a site's entry does not name is left as it is. A list or a dictionary is taken whole; an empty one stands for
    none, so that C(tls={}) switches TLS off.
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
        choices: [present, absent, stopped, suspended, disabled]
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
      directories:
        description: Directories with sections of their own. What the list does not name stays.
        type: list
        elements: dict
        suboptions:
          path:
            description: The directory.
            type: path
            required: true
          options:
            description: Options to switch, such as C(-Indexes).
            type: list
            elements: str
          allow:
            description: Addresses, networks and names of hosts that may see it, or C(all). Without C(deny), nobody else may.
            type: list
            elements: str
          deny:
            description: Those that may not, or C(all).
            type: list
            elements: str
          protect:
            description: Whether it is put behind a password.
            type: bool
      tls:
        description: Its certificate. The files are on the host already.
        type: dict
        suboptions:
          certificate:
            description: The certificate and its issuers, in PEM form and in order.
            type: path
          key:
            description: The path of its private key.
            type: path
          redirect:
            description: Whether http leads to https.
            type: bool
          hsts:
            description: How long browsers are to use https only, such as C(180d).
            type: str
          port:
            description: The port of https.
            type: int
          any_name:
            description: Whether the certificate may be for some of the site's names only.
            type: bool
      php:
        description: Who runs its scripts.
        type: dict
        suboptions:
          fpm:
            description: Where the pool of PHP's FPM listens, a socket or HOST:PORT.
            type: str
          root_only:
            description: Whether only scripts below the document root run.
            type: bool
      proxies:
        description: The paths that applications answer for.
        type: list
        elements: dict
        suboptions:
          path:
            description: The path, with all below it.
            type: str
            required: true
          url:
            description: Where the application listens.
            type: str
            required: true
          websocket:
            description: Whether it speaks websockets, too.
            type: bool
          timeout:
            description: The seconds to wait for it.
            type: int
      access:
        description: Who may ask for which paths.
        type: list
        elements: dict
        suboptions:
          path:
            description: The path, with all below it.
            type: str
            required: true
          allow:
            description: Addresses and networks that may, or C(all).
            type: list
            elements: str
          deny:
            description: Addresses and networks that may not, or C(all).
            type: list
            elements: str
          users:
            description: The users that may; C(valid-user) for each of the file.
            type: list
            elements: str
          user_file:
            description: The password file; by default that of the site.
            type: path
      redirects:
        description: The paths that lead elsewhere, in one hop on http and https alike.
        type: list
        elements: dict
        suboptions:
          path:
            description: The path, with all below it; C(/) for the whole site.
            type: str
            required: true
          to:
            description: Where it leads.
            type: str
            required: true
          keep_path:
            description: Whether what follows the path is appended.
            type: bool
          status:
            description: The answer's status.
            type: int
            choices: [301, 302, 307, 308]
      canonical:
        description: The name that visitors end up with.
        type: str
        choices: [www, bare, "off"]
      log_policy:
        description: How long its logs are kept.
        type: dict
        suboptions:
          when:
            description: When they are rotated.
            type: str
            choices: [daily, weekly, monthly]
          keep:
            description: How many old ones are kept.
            type: int
          size:
            description: The size beyond which they are rotated sooner, such as C(100M).
            type: str
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
  confirm_within:
    description: The host takes the change back by itself unless C(confirm) comes within this time, such as C(10m).
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
        tls:
          certificate: /etc/ssl/shop.example/fullchain.pem
          key: /etc/ssl/shop.example/privkey.pem
          redirect: true
        php:
          fpm: /run/php/php8.2-fpm.sock
        redirects:
          - path: /old
            to: https://shop.example/new
            status: 301
        canonical: bare
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

TEXT, PATH, FLAG, COUNT = ({"type": kind} for kind in ("str", "path", "bool", "int"))
TEXTS = {"type": "list", "elements": "str"}
NEEDED = {"type": "str", "required": True}


def record(**options):
    """A setting, which is there or not."""
    return {"type": "dict", "options": options}


def paths(**options):
    """A setting for each of some paths."""
    return {"type": "list", "elements": "dict", "options": dict(path=NEEDED, **options)}


SITE = {
    "name": {"type": "str", "required": True},
    "state": {"type": "str", "choices": ["present", "absent", "stopped", "suspended", "disabled"], "default": "present"},
    "host_names": TEXTS,
    "index": TEXTS,
    "alias": {"type": "dict"},
    "script_alias": {"type": "dict"},
    "redirect": {"type": "dict"},
    "error_document": {"type": "dict"},
    "root": PATH,
    "directories": paths(options=TEXTS, allow=TEXTS, deny=TEXTS, protect=FLAG),
    "tls": record(certificate=PATH, key={"type": "path", "no_log": False}, redirect=FLAG, hsts=TEXT, port=COUNT, any_name=FLAG),
    "php": record(fpm=TEXT, root_only=FLAG),
    "proxies": paths(url=NEEDED, websocket=FLAG, timeout=COUNT),
    "access": paths(allow=TEXTS, deny=TEXTS, users=TEXTS, user_file=PATH),
    "redirects": paths(to=NEEDED, keep_path=FLAG, status={"type": "int", "choices": [301, 302, 307, 308]}),
    "canonical": {"type": "str", "choices": ["www", "bare", "off"]},
    "log_policy": record(when={"type": "str", "choices": ["daily", "weekly", "monthly"]}, keep=COUNT, size=TEXT),
    "address": TEXT,
    "owner": TEXT,
    "path": PATH,
}


def given(value):
    """Without the options that were left out."""
    if isinstance(value, dict):
        return {key: given(each) for key, each in value.items() if each is not None}
    return [given(each) for each in value] if isinstance(value, list) else value


def document(sites):
    """The sites as zpweb reads them; keys and values of plain dictionaries are texts."""
    result = []
    for site in sites:
        entry = given(site)
        for field in ("alias", "script_alias", "redirect", "error_document"):
            if field in entry:
                entry[field] = {str(key): str(each) for key, each in entry[field].items()}
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
            label={"type": "str"},
            confirm_within={"type": "str"}),
        supports_check_mode=True)
    params = module.params
    words = ["apply", "--state", "-"]
    for option in ("label", "confirm_within"):
        if params[option]:
            words += ["--" + option.replace("_", "-"), params[option]]
    if params["policy"] == "exclusive":
        words += ["--exclusive", "--confirm-removals", str(params["confirm_removals"])]
    module.exit_json(**zpweb.change(module, words, document(params["sites"])))


if __name__ == "__main__":
    main()
