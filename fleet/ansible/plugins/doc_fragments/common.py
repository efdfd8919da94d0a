"""Options that all modules of the collection have."""
from __future__ import annotations


class ModuleDocFragment:
    """The fragment zpapache.web.common."""

    DOCUMENTATION = r"""
options:
  program:
    description: The path of C(zpweb) on the host.
    type: path
    default: zpweb
  conf:
    description: The server's main configuration file. Without it, the one that the installed server was built to read.
    type: path
  lock_timeout:
    description: How many seconds to wait for another run of C(zpweb) to end.
    type: int
    default: 30
  retries:
    description: How often to try again when another run held the configuration for longer.
    type: int
    default: 3
requirements:
  - zpweb on the host
"""
