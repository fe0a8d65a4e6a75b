#!/usr/bin/python
"""Asks a server which BMC firmware it runs and what is recorded of it. Changes nothing."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
module: bmc_firmware_info
short_description: Tells which BMC firmware a KV6000 server runs
version_added: 1.0.0
description:
  - Runs C(orvhost identify) and C(orvhost history) on the server, and changes nothing.
  - A server on which something is missing that an update needs is no failure of this module; see C(prerequisites).
author:
  - KESTREL BMC tools (@kestrel)
extends_documentation_fragment:
  - kestrel.kv6000.orvhost
attributes:
  check_mode:
    description: Runs in check mode as it does otherwise.
    support: full
seealso:
  - module: kestrel.kv6000.bmc_firmware
"""

EXAMPLES = r"""
- name: Ask which firmware runs
  kestrel.kv6000.bmc_firmware_info:
  become: true
  register: firmware

- name: Show servers on which a written update waits
  ansible.builtin.debug:
    msg: "{{ firmware.recorded_version }} waits for its start"
  when: firmware.needs_apply
"""

RETURN = r"""
running_version:
  description: Version that the BMC runs; empty when it could not be asked.
  returned: success
  type: str
  sample: 01-23
recorded_version:
  description: Version that was written last by C(orvhost); empty when there is none.
  returned: success
  type: str
  sample: 01-24
needs_apply:
  description: Whether a written version waits for its start. Null when unknown.
  returned: success
  type: bool
prerequisites:
  description: Whether the server has what C(orvhost) needs to ask its BMC.
  returned: success
  type: dict
  contains:
    complete:
      description: Whether nothing is missing.
      type: bool
    missing:
      description: What is missing, as a sentence.
      type: str
    next_step:
      description: What to do about it.
      type: str
server_type:
  description: The server type.
  returned: success
  type: str
  sample: kv6000
serial_number:
  description: The server's serial number.
  returned: success
  type: str
last_update:
  description: How the last update ended, as a sentence.
  returned: success
  type: str
last_run:
  description: The last run of C(orvhost) that left a journal; empty when there is none.
  returned: success
  type: dict
verdict:
  description: The verdict of C(orvhost identify), or of this collection when its answer could not be used.
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

MISSING = "prerequisites-missing"


def ask(module):
    program = orvhost.Orvhost(module)
    report = program.ask("identify")
    if report["exit_code"] != 0 and report["verdict"] != MISSING:
        raise orvhost.failure_of(report)
    error = report["error"] or {"cause": "", "next_step": ""}
    facts = report["facts"]
    # A journal that cannot be read does not hide what runs.
    runs = program.ask("history").get("runs") or [{}]
    return {
        "changed": False,
        "verdict": report["verdict"],
        "running_version": report["before"],
        "recorded_version": facts.get("recorded_version", ""),
        "needs_apply": report["needs_apply"],
        "prerequisites": {"complete": report["exit_code"] == 0, "missing": error["cause"], "next_step": error["next_step"]},
        "server_type": facts.get("server_type", ""),
        "serial_number": facts.get("serial_number", ""),
        "last_update": facts.get("last_update", ""),
        "last_run": runs[-1],
    }


def main():
    orvhost.finish(AnsibleModule(argument_spec=orvhost.ARGUMENTS, supports_check_mode=True), ask)


if __name__ == "__main__":
    main()
