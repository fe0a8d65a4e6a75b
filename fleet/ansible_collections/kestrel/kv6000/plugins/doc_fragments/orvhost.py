"""The options that all modules of the collection have."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type


class ModuleDocFragment(object):
    DOCUMENTATION = r"""
options:
  executable:
    description: The program C(orvhost) on the server, a name that is searched for or a path.
    type: str
    default: orvhost
  install_path:
    description: The install path that C(orvhost) works under. Without it the program's own, C(/opt/orv).
    type: path
  server_type:
    description: The server type, where the machine does not say it by itself.
    type: str
  busy_time_limit:
    description:
      - How many seconds to wait for another run of C(orvhost) that is at work on the server.
      - After that the module fails with the verdict C(busy); nothing was touched, and the same task may be run again.
    type: int
    default: 60
requirements:
  - orvhost 1.1 or newer on the server
"""
