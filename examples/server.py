# SPDX-License-Identifier: Apache-2.0
"""A small audio server: three zones, in which dictionary items play for two seconds each, without sound.

Run it as python3 server.py HOST PORT NUMBER, for example localhost 1883 9, with Python 3.11, paho-mqtt 1.6
(Debian's python3-paho-mqtt) and any MQTT 5 broker; Ctrl-C or SIGTERM ends it.
"""
import functools
import json
import random
import re
import signal
import sys
import time
from types import SimpleNamespace

from paho.mqtt import client as mqtt

STOP = {signal.SIGINT, signal.SIGTERM}
ZONES = {"Hall": "20/1", "Platform 1": "20/2", "Platform 2": "20/3"}


def checksum(text):
    return functools.reduce(lambda value, byte: (value ^ byte) * 1099511628211 % 2**64, text.encode(),
                            14695981039346656037)


def encode(text):
    return '"' + re.sub(r'(["\\])', r"\\\1", text) + '"'


def split(text, separator=","):  # a list at the separators outside quotes; the elements are decoded
    quoted = r'"(?:\\.|[^"\\])*"'
    elements = re.findall(rf'(?:^|\{separator})((?:{quoted}|[^"{separator}])*)', text, re.S)
    if separator.join(elements) != text:
        raise ValueError("the text cannot be read")
    return [re.sub(r"\\(.)", r"\1", each[1:-1], flags=re.S) if re.fullmatch(quoted, each, re.S) else each
            for each in elements]


class Server:
    def __init__(self, number):
        self.number, self.topic, self.generation = number, f"pa/{number}/", time.time_ns() // 1_000_000
        self.offline = json.dumps({"protocol": 1, "state": "offline", "generation": self.generation})
        self.status_at, self.changed, self.stopped = 0, True, False
        self.records, self.playing = {}, []  # KIND/KEY: payload, or None when it is withdrawn; announcements
        self.answers = {}  # (response topic, correlation data): (time, answer), of the last 60 s

    def publish(self, topic, payload, retain=True, correlation=None):
        properties = mqtt.Properties(mqtt.PUBLISH >> 4)
        properties.UserProperty = ("generation", str(self.generation))
        if correlation:
            properties.CorrelationData = correlation
        return self.mqtt.publish(topic, payload, 1, retain, properties)

    def publish_status(self):
        held, kinds, clock = [path for path in self.records if self.records[path]], {}, time.time_ns() // 1_000_000
        for kind in {path.split("/")[0] for path in held}:
            sums = [checksum(f"{path}\n{self.records[path]}") for path in held if path.startswith(kind + "/")]
            kinds[kind] = {"count": len(sums), "checksum": f"{sum(sums) % 2**64:016x}"}
        self.publish(self.topic + "status", json.dumps({
            "protocol": 1, "state": "online", "generation": self.generation, "role": "active", "precedence": 1,
            "name": "Example", "software": "example server", "timeZone": "UTC", "clockMS": clock,
            "hostClockMS": clock, "speed": 1, "kinds": kinds}))
        self.status_at, self.changed = time.monotonic(), False

    def set_record(self, path, fields):
        self.records[path], self.changed = fields and json.dumps(fields), True
        self.publish(f"{self.topic}records/{path}", self.records[path])

    def set_zones(self, zones):
        for zone in zones:
            plays = any(zone in each.zones for each in self.playing)
            self.set_record(ZONES[zone], [encode(zone), None, *(
                "1 Active 2 Dictionary" if plays else "0 Idle 7 None").split(), "1", "Healthy"])

    def play(self, request, mode, level, part, *more):
        path = f"11/{len(self.records)}"  # a new one, as what is withdrawn stays
        request = request or "example-" + path
        if not 6 <= len(request) <= 63 or any(each.request == request for each in self.playing):
            raise ValueError("the request id is too short, too long, or in use")
        priority = {"0": f"Absolute {int(level)}", "1": f"Relative {int(level):+}"}[mode]
        kind, origin, zones, content, gain, chimes = split(part)
        if kind != "2" or more:
            raise ValueError("this server plays only dictionary items")
        zones = split(zones, "^")
        if not set(zones) <= set(ZONES):
            raise ValueError(f"of the zones {zones} one is unknown")
        items, repeats = content.split("!")
        end = time.monotonic() + (2 * len([int(item) for item in items.split("^")]) * int(repeats) or float("inf"))
        message = f"2,{encode(origin)},{encode('^'.join(map(encode, zones)))},{encode(content)},{gain},{chimes}"
        fields = [encode(request), *[None] * 4, "Playing", time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime()),
                  None, None, encode(message), *[None] * 6, priority, None]
        self.playing.append(SimpleNamespace(request=request, zones=zones, end=end, path=path, fields=fields))
        self.set_record(path, fields)
        self.set_zones(zones)

    def cancel(self, request, kind=None):
        over = [each for each in self.playing if kind == "2" or each.request == request]
        if not over:
            raise ValueError("there is no such announcement")
        self.finish(over, "Cancelled", "1", "cancelled by a client")

    def finish(self, over, state, code, reason):
        for each in over:
            self.playing.remove(each)
            each.fields[5] = state
            self.set_record(each.path, each.fields + [code, encode(reason)])
            self.set_record(each.path, None)
            self.set_zones(each.zones)

    def operate(self, what, message):
        answer = {"outcome": "accepted"}
        try:
            if what not in ("operations/92/17", "operations/92/18"):
                raise ValueError(f"this server does not have {what}")
            if ("generation", str(self.generation)) not in getattr(message.properties, "UserProperty", []):
                raise ValueError("the server has started again meanwhile")
            arguments = split(message.payload.decode())
            answer |= {"requestId": arguments[0]} if arguments[0] else {}
            (self.play if what == "operations/92/17" else self.cancel)(*arguments)
        except Exception as error:  # also what texts of another layout lead to
            answer |= {"outcome": "refused", "reason": str(error)}
        return answer

    def on_connect(self, *_):
        self.mqtt.subscribe(self.topic + "#", options=mqtt.SubscribeOptions(1, noLocal=True))
        for path, payload in self.records.items():
            self.publish(f"{self.topic}records/{path}", payload)
        self.set_zones(ZONES)

    def on_message(self, _client, _data, message):
        what, properties, now = message.topic.removeprefix(self.topic), message.properties, time.monotonic()
        request = getattr(properties, "ResponseTopic", ""), getattr(properties, "CorrelationData", b"")
        if what.startswith("records/") and message.payload and not self.records.get(what.removeprefix("records/")):
            self.publish(message.topic, None)  # an earlier generation has left it
        elif re.fullmatch("pa/clients/[^/+#]+/answers", request[0]) and 1 <= len(request[1]) <= 64:
            self.answers = {key: each for key, each in self.answers.items() if each[0] > now - 60}
            if request not in self.answers:
                answer = {"outcome": "accepted"} if what == "roundTrips" else self.operate(what, message)
                self.answers[request] = now, json.dumps(answer)
            self.publish(request[0], self.answers[request][1], False, request[1])

    def is_stopped(self, seconds=0):  # by a signal, which it waits for
        self.stopped = self.stopped or signal.sigtimedwait(STOP, seconds) is not None
        return self.stopped

    def run(self, host, port, pause=0.25):
        while not self.is_stopped(random.uniform(pause / 2, pause)):
            self.mqtt = mqtt.Client(f"pa-server-{self.number}-{self.generation}", protocol=mqtt.MQTTv5)
            self.mqtt.on_connect, self.mqtt.on_message = self.on_connect, self.on_message
            self.mqtt.will_set(self.topic + "status", self.offline, 1, True)
            pause = min(pause * 2, 30)
            try:
                self.mqtt.connect(host, port, keepalive=10, clean_start=True)
                while self.mqtt.loop(0.02) == 0 and not self.is_stopped():
                    if self.mqtt.is_connected():
                        now, pause = time.monotonic(), 0.25
                        over = [each for each in self.playing if each.end <= now]
                        self.finish(over, "Finished", "0", "played to its end")
                        if now - self.status_at >= (0.1 if self.changed else 30):
                            self.publish_status()
                if self.mqtt.is_connected():
                    last = self.publish(self.topic + "status", self.offline)
                    while self.mqtt.loop(0.02) == 0 and not last.is_published():
                        pass
                    self.mqtt.disconnect()
            except OSError as error:
                print("no connection:", error)


if __name__ == "__main__":
    if len(sys.argv) != 4 or not sys.argv[2].isdigit():
        sys.exit("usage: server.py HOST PORT NUMBER")
    signal.pthread_sigmask(signal.SIG_BLOCK, STOP)
    Server(sys.argv[3]).run(sys.argv[1], int(sys.argv[2]))
