#!/usr/bin/python
"""Has a server write its device configuration report and hands it on as facts."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
module: bmc_report
short_description: Fetches the device configuration report of a KV6000 server as facts
version_added: 1.0.0
description:
  - Runs C(orvhost report) on the server. The items of the report become the fact C(kv6000_report).
  - The file itself is removed again, unless I(folder) says where it is to stay.
  - Changes nothing on the device.
author:
  - KESTREL BMC tools (@kestrel)
extends_documentation_fragment:
  - kestrel.kv6000.orvhost
options:
  folder:
    description: A folder on the server that the report is kept in. It must be there.
    type: path
attributes:
  check_mode:
    description: In check mode the report is made and read as otherwise, and I(folder) is left as it is.
    support: full
"""

EXAMPLES = r"""
- name: Fetch the report
  kestrel.kv6000.bmc_report:
  become: true

- name: Show where the BMC's web console is
  ansible.builtin.debug:
    var: ansible_facts.kv6000_report.ip_address
"""

RETURN = r"""
ansible_facts:
  description: The report.
  returned: success
  type: dict
  contains:
    kv6000_report:
      description: The items of the report by name; which there are depends on the server.
      type: dict
      sample: {"product_name": "KV6000"}
file:
  description: Where the report is kept on the server; empty when it is not.
  returned: success
  type: str
verdict:
  description: The verdict of C(orvhost report), or of this collection when its answer could not be used.
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

import shutil
import tempfile

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.kestrel.kv6000.plugins.module_utils import orvhost


def fetch(module):
    program = orvhost.Orvhost(module)
    kept = "" if module.check_mode else module.params["folder"]
    folder = kept or tempfile.mkdtemp(prefix="kv6000-report-", dir=module.tmpdir)
    try:
        report = program.run("report", "--out", folder)
    finally:
        if not kept:
            shutil.rmtree(folder)
    items = dict(report["facts"])
    file = items.pop("file", "")
    return {"changed": False, "verdict": report["verdict"], "file": file if kept else "",
            "ansible_facts": {"kv6000_report": items}}


def main():
    arguments = dict(orvhost.ARGUMENTS, folder={"type": "path"})
    orvhost.finish(AnsibleModule(argument_spec=arguments, supports_check_mode=True), fetch)


if __name__ == "__main__":
    main()
