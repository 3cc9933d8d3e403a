# SPDX-License-Identifier: Apache-2.0
"""announce.py SCENARIO: plays an announcement on a simulated tram, and prints what changes meanwhile."""
import sys

import publicaddress as pa

if len(sys.argv) != 2:
    sys.exit("usage: announce.py SCENARIO")
with pa.Connection(scenario=sys.argv[1], speed=5):
    changes = pa.Subscription(["announcementUpdate", "zoneUpdate"], timeout=0.5)
    if not pa.set_gain(pa.find_sink("cab"), -12.5):
        sys.exit("the gain is not set")

    message = pa.Message()
    message.set_audio_text("Next stop: Harbour Square", "en", "Nora")
    for finding in pa.check_message(["Car 1", "Car 2"], message):
        print(finding.text)
    announcement = pa.Announcement(["Car 1", "Car 2"], message)
    if announcement.wait(timeout=60) != pa.Announcement.State.FINISHED:
        sys.exit(f"{announcement.state.name}: {announcement.reason}")

    for change in changes:
        if change.event == "zoneUpdate":
            print(change.key, change.record.activityText)
        else:
            print("announcement", change.key, change.record.stateText)
