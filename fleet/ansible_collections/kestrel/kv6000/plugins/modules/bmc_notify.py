#!/usr/bin/python
"""Has a server send the records of its operating system and disks to the service processor."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
module: bmc_notify
short_description: Sends the records of a KV6000 server to its service processor
version_added: 1.0.0
description:
  - Runs C(orvhost notify) on the server, which sends the records of the operating system and of the disks.
  - What a BMC does not support is no failure; see C(operating_system) and C(disks).
author:
  - KESTREL BMC tools (@kestrel)
extends_documentation_fragment:
  - kestrel.kv6000.orvhost
attributes:
  check_mode:
    description: In check mode nothing is sent.
    support: full
"""

EXAMPLES = r"""
- name: Send the records
  kestrel.kv6000.bmc_notify:
  become: true
"""

RETURN = r"""
operating_system:
  description: What became of the record of the operating system; empty in check mode.
  returned: success
  type: str
  sample: sent
disks:
  description: What became of the record of the disks; empty in check mode.
  returned: success
  type: str
  sample: not supported by this BMC
summary:
  description: What was done, as a sentence.
  returned: success
  type: str
verdict:
  description: The verdict of C(orvhost notify), or of this collection when its answer could not be used.
  returned: always
  type: str
next_step:
  description: What to do now.
  returned: failure
  type: str
evidence:
  description: What shows the cause.
  returned: failure
  type: dict
"""

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.kestrel.kv6000.plugins.module_utils import orvhost


def send(module):
    program = orvhost.Orvhost(module)
    # Also before it is sent: an answer that cannot be read is better found while nothing has been changed.
    report = program.run("notify", "--dry-run")
    if not module.check_mode:
        report = program.run("notify", writes=True)
    return {"changed": report["changed"], "verdict": report["verdict"], "summary": report["summary"],
            "operating_system": report["facts"].get("operating_system", ""), "disks": report["facts"].get("disks", "")}


def main():
    orvhost.finish(AnsibleModule(argument_spec=orvhost.ARGUMENTS, supports_check_mode=True), send)


if __name__ == "__main__":
    main()
