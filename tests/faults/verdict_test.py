#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""That each thing that may be wrong with a life is seen, and that what is
documented is not taken for wrong."""
import copy
import sys
import unittest

from verdict import DEFECT, ENDED, WENT_ON, judge

USUAL = {
    "error": "", "hit": True, "steps": [], "bmc_road": True, "agent_road": True,
    "first_status": 1, "proxy_status": 1, "asked_to_stop": True, "left": [],
    "sent": [{"road": "bmc", "number": 1, "arrived": [1, 1, 1]},
             {"road": "agent", "number": 2, "arrived": [1, 1, 1]}],
    "commands": ["poweroff "], "descriptors": {"first": 4, "proxy": 3}, "zombies": 0,
    "blocks": [5, 0, 0, 0], "simulated_seconds": 42.0, "calls": {"poll": [50, 20, 0, 0]},
    "log": ["first 6 ortdv: tvurev: Sending trap [1] to dest [192.0.2.7] ...",
            "first 3 ortdv: go_bye(): Failed: Writing SNMP_HELLO_BYE send=-1 errno =32"],
    "started_again": False, "relayed_again": False, "log_again": [],
}


def life(**changes):
    changed = copy.deepcopy(USUAL)
    changed.update(changes)
    return changed


def lost(*lines):
    changed = life()
    changed["sent"][0]["arrived"] = [1, 0, 1]
    changed["log"] += lines
    return changed


def ended(line, status, **changes):
    changed = life(bmc_road=False, agent_road=False, asked_to_stop=False, first_status=status,
                   relayed_again=True, **changes)
    changed["log"] = [line]
    return changed


class Verdict(unittest.TestCase):
    def expect(self, verdict, changed):
        self.assertEqual(judge(changed, USUAL)[0], verdict, judge(changed, USUAL))

    def test_life_as_usual(self):
        self.expect(WENT_ON, life())

    def test_what_is_wrong_is_a_defect(self):
        for changes in (
                {"error": "no host"}, {"steps": ["stop: stuck"]}, {"steps": ["agent: stalled"]},
                {"left": ["proxy"]}, {"first_status": 139}, {"first_status": 0},
                {"proxy_status": 0}, {"asked_to_stop": False}, {"agent_road": False},
                {"bmc_road": False}, {"commands": ["reboot ", "poweroff "]}, {"commands": []},
                {"descriptors": {"first": 5, "proxy": 3}}, {"zombies": 1},
                {"blocks": [6, 0, 0, 0]}, {"blocks": [5, 1, 0, 0]},
                {"simulated_seconds": 9000.0}, {"calls": {"poll": [50000, 20, 0, 0]}}):
            with self.subTest(changes):
                self.expect(DEFECT, life(**changes))

    def test_notification_that_arrived_twice(self):
        changed = life()
        changed["sent"][0]["arrived"] = [1, 2, 1]
        self.expect(DEFECT, changed)

    def test_lost_notification_needs_a_line_of_its_own(self):
        self.expect(DEFECT, lost())
        self.expect(DEFECT, lost("first 3 ortdv: go_bye(): Failed: Writing SNMP_HELLO_BYE "
                                 "send=-1 errno =32"))
        self.expect(DEFECT, lost("first 6 ortdv: something else happened"))
        self.expect(WENT_ON, lost("first 3 ortdv: tvurev: Trap [1] to dest [198.51.100.9] was "
                                  "not sent: Sending failed"))

    def test_documented_end(self):
        line = "first 6 ortdv: ryn11 tvurev: Server not supported."
        self.expect(ENDED, ended(line, 0))
        self.expect(DEFECT, ended(line, 1))
        self.expect(DEFECT, ended(line, 134))
        self.expect(DEFECT, ended("first 6 ortdv: farewell", 0))
        self.expect(DEFECT, ended(line, 0) | {"relayed_again": False})

    def test_socket_proxy_that_says_why_it_ended(self):
        changed = life(agent_road=False, relayed_again=True)
        self.expect(DEFECT, changed)
        changed["log"] = ["proxy 3 ortdv: tvurev: accept() of the agent socket failed. "
                          "Notifications of host agents are lost"]
        self.expect(ENDED, changed)


if __name__ == "__main__":
    sys.exit(unittest.main())
