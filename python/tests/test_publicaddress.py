# SPDX-License-Identifier: Apache-2.0
import json
import os
import pathlib
import re
import select
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import unittest

import publicaddress as pa

ROOT = pathlib.Path(__file__).parents[2]
TRAM = ROOT / "scenarios/tram.json"
State = pa.Announcement.State
Outcome = pa.Confirmation.State


def items(*numbers):
    message = pa.Message()
    message.set_audio_items(list(numbers))
    return message


class OnTheTramTest(unittest.TestCase):
    """At a simulated server in the process."""

    def setUp(self):
        self.connection = pa.Connection(scenario=TRAM, speed=50)
        self.addCleanup(self.connection.close)

    def test_records_have_the_members_of_the_station(self):
        with open(TRAM, encoding="utf-8") as scenario:
            station = json.load(scenario)
        self.assertEqual([zone.id for zone in pa.zones()], [zone["id"] for zone in station["zones"]])
        sink = pa.find_sink("cab")
        self.assertEqual((sink.id, sink.outputGain, sink.monitoringZoneList), (7, -8.0, ["Car 1", "Car 2", "Car 3"]))
        self.assertIs(sink.type, pa.PaSink.Type.LOW_IMPEDANCE_AMPLIFIER_SPEAKER_OUTPUT)
        self.assertEqual((sink, sink.as_dict()["label"]), (pa.find_sink(7), "Cab loudspeaker"))
        self.assertNotEqual(sink, pa.find_sink(8))
        self.assertIn(sink, pa.find_zone("driver's cab").members())
        self.assertIn("label='Cab loudspeaker'", repr(sink))
        self.assertEqual((pa.triggers()[0].kind, pa.triggers()[0].associatedSelectorId), ("hardware", 1))
        with self.assertRaises(AttributeError):
            sink.label = "another"

    def test_exceptions_have_the_texts_of_the_library(self):
        voice = pa.voices()[0]
        for call, kind, text in (
                (lambda: pa.find_zone("Car"), pa.Ambiguous, "Car"),
                (lambda: pa.find_zone("Crr 1"), pa.NotFound, "did you mean"),
                (lambda: items(), ValueError, "dictionaryItems list is empty"),
                (lambda: pa.Announcement(["Car 1"], pa.Message()), ValueError, "nothing to do"),
                (lambda: pa.set_gain(pa.find_sink(7), 1), ValueError,
                 "PaSink::setGain(): Invalid Gain Level. Valid Range [-96, 0]"),
                (lambda: pa.Subscription(["zoneUpdates"]), ValueError, "no event 'zoneUpdates'"),
                (lambda: setattr(voice, "rate", "fast"), TypeError, "'rate' cannot be 'fast'"),
                (lambda: pa.ScheduleDefinition(id=3), TypeError, "no member 'id'"),
                (lambda: pa.Connection(scenario=TRAM), RuntimeError, "started"),
                (lambda: pa.Connection(scenario="nowhere.json"), RuntimeError, "nowhere.json"),
                (lambda: pa.Connection(), ValueError, "either a broker or a scenario"),
                (lambda: pa.Connection(scenario=b"\xff.json"), RuntimeError, "\ufffd.json"),
                (lambda: pa.Connection(broker="x"), ValueError, "mqtt://HOST"),
                (lambda: pa.Connection(broker="mqtt://a", speed=2), ValueError, "of a simulated server"),
                (lambda: pa.Connection(scenario=TRAM, dst_no=2), ValueError, "of a broker"),
                (lambda: pa.Connection(scenario=TRAM, speed=float("nan")), ValueError, "0.001 to 1000000"),
                (lambda: pa.Connection(scenario=TRAM, clock="2026-12-01"), ValueError, "date and a time"),
                (lambda: pa.import_schedules("{}"), ValueError, "the text is not a list of schedules"),
                (lambda: pa.SimulatedServer(None), TypeError, "connection")):
            with self.subTest(text=text):
                with self.assertRaises(kind) as caught:
                    call()
                self.assertIn(text, str(caught.exception))
        with self.assertRaises(pa.NotFound) as caught:
            pa.find_zone("Crr 1")
        self.assertEqual(caught.exception.suggestions[0], "Car 1")
        self.connection.close()
        for operation in (self.connection.wait_until_delivered, pa.SimulatedServer(self.connection).contents,
                          lambda: pa.Announcement(["Car 1"], items(10)), lambda: pa.take_lock(1),
                          lambda: pa.import_schedules("[]"), lambda: pa.enable_level_meter(1)):
            with self.assertRaises(pa.NotConnected):
                operation()

    def test_an_announcement_is_followed_to_its_end_or_cancelled(self):
        changes = pa.Subscription(["announcementUpdate", "announcementDelete"], timeout=0)
        announcement = pa.Announcement(["Car 1"], items(10, 12))
        self.assertEqual(announcement.wait(20), State.FINISHED)
        self.assertEqual(announcement.cancel().state, Outcome.AS_BEFORE)
        self.connection.wait_until_delivered()
        seen = [(change.event, change.record.requestId, change.record.stateText) for change in changes]
        states = [("Update", "Queued"), ("Update", "Playing"), ("Update", "Finished"), ("Delete", "Finished")]
        self.assertEqual(seen, [("announcement" + event, announcement.request_id, state) for event, state in states])

        endless = items(10)
        endless.repeat_count = 0
        announcement = pa.Announcement(["Car 1"], endless)
        self.assertIn(announcement.wait_until_accepted(), (State.QUEUED, State.PLAYING))
        self.assertEqual(announcement.wait(0), announcement.state)
        self.assertTrue(announcement.cancel())
        self.assertEqual([part.record.completionCode for part in announcement.parts()], ["1"])
        announcement = pa.Announcement(["Car 1", "Car 2"], endless)
        announcement.wait_until_accepted()
        confirmation, ended = pa.cancel_announcements(pa.MessageType.DICTIONARY)
        self.assertEqual((confirmation.state, [part.requestId for part in ended], announcement.wait(20)),
                         (Outcome.DONE, [announcement.request_id], State.CANCELLED))
        refused = pa.Announcement(["Nowhere"], items(10))
        self.assertEqual(refused.wait(20), State.REFUSED)
        self.assertIn("Nowhere", refused.reason)

    def test_operations_are_confirmed(self):
        source = pa.find_source("Announcement computer")
        self.assertEqual(pa.attach_zones(source, ["Car 1", "Car 2"]).state, Outcome.DONE)
        self.assertTrue(pa.attach_zones(source, ["Car 3"], replace=True))
        self.assertEqual(source.attached_zones(), ["Car 3"])
        self.assertTrue(pa.take_lock(source.id))
        self.assertEqual(pa.find_lock(source.id).lockedUUID, pa.own_uuid())
        self.assertTrue(pa.release_lock(source.id))
        pa.create_software_trigger(source.id, 100)
        trigger, = pa.software_triggers()
        confirmation, started = pa.activate(trigger)
        self.assertEqual((confirmation.state, started.zones), (Outcome.DONE, ["Car 3"]))
        self.assertTrue(pa.deactivate(trigger, started.id))
        pa.delete_software_trigger(trigger.trigger.id)
        schedule = pa.ScheduleDefinition(
            startYear=2030, startMonth=1, startDay=1, endYear=2030, endMonth=2, endDay=1, endHour=23, dayMask=127,
            frequency=60, paZones=["Car 1"], announcementType=pa.AnnouncementType.AT_TTS,
            ttsList=[pa.TTSVocalizer(text="Hello", language="en", voice="Nora")])
        confirmation, schedule.Id = pa.create_schedule(schedule)
        self.assertTrue(confirmation)
        entry = pa.find_schedule(schedule.Id)
        self.assertEqual((entry.ttsList[0].text, entry.timesText), ("Hello", "00:00 to 23:00 every 60 min"))
        entry.gain = -3.5
        self.assertEqual((pa.put_schedule(entry).state, pa.put_schedule(entry).state), (Outcome.DONE, Outcome.AS_BEFORE))
        exported = json.loads(pa.export_schedules())
        self.assertEqual([(each["Id"], each["gain"]) for each in exported], [(schedule.Id, -3.5)])
        self.assertTrue(pa.remove_schedule(schedule.Id))
        self.assertEqual(pa.schedules(), [])
        text = json.dumps(exported + [exported[0] | {"Id": 70, "paZones": ["Nowhere"]}])
        result = pa.import_schedules(text)
        self.assertEqual((bool(result), result.imported, [each.entry for each in result.failed]), (False, 1, [2]))
        self.assertIn("there is no zone 'Nowhere'", result.failed[0].reason)
        self.assertEqual((pa.find_schedule(schedule.Id).gain, result.unknownEntry), (-3.5, 0))
        self.assertFalse(pa.import_schedules(json.dumps(exported)))
        self.assertTrue(pa.import_schedules(json.dumps(exported), replace=True))

    def test_a_simulated_server_does_what_happens_on_its_own_side(self):
        simulated = pa.SimulatedServer(self.connection)
        simulated.set_trigger(1, True)
        simulated.set_selector(1, pa.PaSelector.State.DISABLED)
        self.assertEqual((pa.find_trigger(1).state, pa.find_selector(1).state),
                         (pa.PaTrigger.State.ACTIVE, pa.PaSelector.State.DISABLED))
        simulated.lock_source(1, "another")
        self.assertEqual((pa.find_lock(1).lockedUUID, pa.take_lock(1).state), ("another", Outcome.REFUSED))
        with self.assertRaisesRegex(pa.Refused, "locked by another client"):
            simulated.lock_source(1, "a-third")
        simulated.unlock_source(1, "another")
        self.assertEqual(pa.find_lock(1).lockedUUID, "")
        with open(TRAM, encoding="utf-8") as scenario:
            dictionary = json.load(scenario)["dictionary"]
        self.assertEqual([item.text for item in simulated.contents().dictionary], [item["text"] for item in dictionary])
        levels = pa.Subscription(["level"])
        pa.enable_level_meter(1)
        self.assertEqual(levels.next(20).record.element, 0)
        pa.disable_level_meter(1)
        simulated.ignore_renewals(True)
        simulated.ignore_requests(True)
        self.assertEqual(simulated.ignored().as_dict(), {"renewals": True, "requests": True})
        self.assertTrue(pa.set_gain(pa.find_sink(7), -20, timeout=0.1).isUnknown)
        self.assertEqual(self.connection.number, 1)
        simulated.drop_client()
        self.assertEqual(self.connection.number, 2)
        simulated.restart()
        self.assertEqual((self.connection.number, pa.find_trigger(1).state), (3, pa.PaTrigger.State.INACTIVE))
        self.assertEqual(pa.station_clock().timeZone, "Europe/Berlin")
        self.assertIsNone(self.connection.link_report())

    def test_a_main_loop_polls_the_descriptor_of_a_subscription(self):
        changes = pa.Subscription(["announcementDelete"])
        self.assertEqual(select.select([changes], [], [], 0)[0], [])
        announcement = pa.Announcement(["Car 1"], items(10))
        self.assertEqual(select.select([changes], [], [], 20)[0], [changes])
        self.assertEqual(changes.next(0).record.requestId, announcement.request_id)
        self.assertIsNone(changes.next(0))

    def test_threads_play_read_and_follow_at_the_same_time(self):
        results, ended = [], []

        def play(zone):
            for _ in range(5):
                results.append(pa.Announcement([zone], items(10)).wait(60))

        def read():
            while not ended:
                self.assertEqual(len(pa.sinks()) + len(pa.zones()), 17)

        def follow(changes):
            for change in changes:
                if change.event == "announcementDelete":
                    ended.append(change.record.requestId)
                if len(ended) == 20:
                    return

        players = [threading.Thread(target=play, args=[zone]) for zone in ("Car 1", "Car 2", "Car 3", "Exterior")]
        others = [threading.Thread(target=read) for _ in range(2)]
        others += [threading.Thread(target=follow, args=[pa.Subscription()])]
        for thread in others + players:
            thread.start()
        for thread in players + others:
            thread.join(100)
            self.assertFalse(thread.is_alive())
        self.assertEqual((results, len(set(ended))), ([State.FINISHED] * 20, 20))

    def test_a_signal_ends_every_wait(self):
        def interrupt(*_):
            raise KeyboardInterrupt

        self.addCleanup(signal.signal, signal.SIGALRM, signal.signal(signal.SIGALRM, interrupt))
        endless = items(10)
        endless.repeat_count = 0
        announcement = pa.Announcement(["Car 1"], endless)
        announcement.wait_until_accepted(60)
        never = pa.Subscription(["lost"])
        pa.SimulatedServer(self.connection).ignore_requests(True)
        for wait in (lambda: announcement.wait(None), lambda: never.next(None), lambda: next(never),
                     lambda: pa.cancel_announcements(pa.MessageType.DICTIONARY, None)):
            signal.setitimer(signal.ITIMER_REAL, 0.1)
            with self.assertRaises(KeyboardInterrupt):
                wait()
        pa.SimulatedServer(self.connection).ignore_requests(False)
        announcement.cancel()  # unless the one above has arrived late and ended it
        self.assertEqual(announcement.wait(60), pa.Announcement.State.CANCELLED)


class ProcessTest(unittest.TestCase):
    """Of processes of their own, with the checks of the interpreter."""

    def test_the_interpreter_ends_whatever_happens_meanwhile(self):
        begin = f"""
import os, threading, publicaddress as pa
scenario = {str(TRAM)!r}
connection = pa.Connection(scenario=scenario)
message = pa.Message()
message.set_audio_items([10])
message.repeat_count = 0
announcement = pa.Announcement(["Car 1"], message)
announcement.wait_until_accepted()
changes = pa.Subscription()
def read():
    while True:
        pa.sinks()
def daemons(function):
    for _ in range(3):
        threading.Thread(target=function, daemon=True).start()
"""
        parent = "if os.fork(): raise SystemExit(os.wait()[1] >> 8)\n"
        keep = "threading.Thread(target=lambda own: announcement.wait(), args=[connection], daemon=True).start()"
        for end, code in (("", 0), ("raise SystemExit(3)", 3), ("del connection", 0), (keep, 0),
                          ("daemons(announcement.wait)", 0), ("daemons(lambda: list(changes))", 0),
                          ("daemons(read)", 0), (parent + "raise SystemExit(4)", 4),
                          (parent + "own = pa.Connection(scenario=scenario)\nraise SystemExit(len(pa.zones()))", 8)):
            with self.subTest(end=end), tempfile.TemporaryDirectory() as folder:
                ended = subprocess.run([sys.executable, "-X", "dev", "-W", "error", "-c", begin + end],
                                       env=os.environ | {"TMPDIR": folder}, capture_output=True, text=True, timeout=100)
                self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (code, "", ""))
                self.assertEqual(os.listdir(folder), [], "the server has not ended")

    def test_the_code_of_the_page_runs_and_every_name_has_a_text(self):
        page = (ROOT / "docs/python.md").read_text(encoding="utf-8")
        blocks = re.findall("```python\n(.*?)```", page, re.S)
        blocks.insert(1, 'connection = pa.Connection(scenario="scenarios/tram.json", speed=10)\n')
        script = "\n".join(blocks) + "print([n for n in dir(pa) if n[0] != '_' and not getattr(pa, n).__doc__])"
        ended = subprocess.run([sys.executable, "-c", script], cwd=ROOT, capture_output=True, text=True, timeout=100)
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))
        self.assertIn("zoneUpdate Car 1 ", ended.stdout)
        self.assertEqual(ended.stdout.splitlines()[-1], "[]")

    def test_the_example_plays(self):
        ended = subprocess.run([sys.executable, ROOT / "python/examples/announce.py", TRAM],
                               capture_output=True, text=True, timeout=100)
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))
        for line in ("announcement 1 Playing", "Car 2 Active", "announcement 1 Finished", "Car 1 Idle"):
            self.assertIn(line + "\n", ended.stdout)

    @unittest.skipUnless(shutil.which("mosquitto") and os.environ.get("PA_SERVER_PROGRAM"), "needs a broker and a server")
    def test_a_server_on_a_broker_is_operated(self):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = probe.getsockname()[1]
        url = f"mqtt://127.0.0.1:{port}"
        with self.assertRaises(pa.NotConnected):
            pa.Connection(broker=url, timeout=0.1)
        for command in (["mosquitto", "-p", str(port)],
                        [os.environ["PA_SERVER_PROGRAM"], "--broker", url, "--scenario", TRAM, "--speed", "50"]):
            process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            self.addCleanup(process.wait)
            self.addCleanup(process.kill)
        with pa.Connection(broker=url, timeout=60) as connection:
            self.assertEqual(connection.server_info()["name"], "Tram 27")
            self.assertTrue(connection.link_report().synced)
            simulated = pa.SimulatedServer(connection)
            simulated.set_selector(1, pa.PaSelector.State.DISABLED)
            self.assertEqual(pa.find_selector(1).state, pa.PaSelector.State.DISABLED)
            with self.assertRaises(pa.Refused):
                simulated.set_trigger(99, True)
            self.assertEqual(pa.Announcement(["Car 1"], items(10)).wait(60), State.FINISHED)


if __name__ == "__main__":
    unittest.main()
