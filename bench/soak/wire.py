# SPDX-License-Identifier: Apache-2.0
"""What passes over the broker, as a plain MQTT client sees it: not with the code under test."""
import json
import re
import time
from collections import Counter, defaultdict

import paho.mqtt.client as mqtt
from paho.mqtt.subscribeoptions import SubscribeOptions

TOPICS = ("pa/+/status", "pa/+/records/#", "pa/+/operations/#", "pa/clients/+/answers")
NAME = re.compile(r"soak-\d+-\d+-\d+")


def checksum(kind, key, payload):
    """FNV-1a with 64 bits, as docs/link-protocol.md has it."""
    value = 14695981039346656037
    for byte in f"{kind}/{key}\n".encode() + payload:
        value = (value ^ byte) * 1099511628211 % 2**64
    return value


def gain_name(payload):
    """The name of an operation that sets a gain: `sink,level,flag,flag`."""
    return f"gain {float(payload.split(',')[1]):.4f}"


class Request:
    def __init__(self, dst, operation, payload):
        self.sent, self.answer = 0, None
        name = NAME.search(payload)
        if operation == "92/8":
            self.name = gain_name(payload)
        elif operation == "92/20":
            self.name = f"remove {dst}/{payload}"
        else:
            self.name = {"92/17": "play ", "92/19": "create "}[operation] + name.group()


class Wire:
    def __init__(self, port):
        self.records = Counter()  # published, by server
        self.statuses = {}
        self.held = defaultdict(dict)   # by server: the payload of each retained record
        self.plays = defaultdict(set)   # by request: server, generation and key of its records
        self.requests = {}              # by correlation data
        self.losses = []                # when the connection was lost
        self.gaps = []                  # from when to when it was not there
        self.client = mqtt.Client(protocol=mqtt.MQTTv5)
        self.client.on_connect = self.connected
        self.client.on_disconnect = self.disconnected
        self.client.on_message = self.take
        self.client.reconnect_delay_set(0.02, 0.1)
        self.client.connect("127.0.0.1", port)
        self.client.loop_start()

    def stop(self):
        self.client.disconnect()
        self.client.loop_stop()

    def connected(self, client, *_):
        self.held.clear()
        self.statuses.clear()
        client.subscribe([(topic, SubscribeOptions(qos=1)) for topic in TOPICS])
        if self.losses:
            self.gaps.append((self.losses[-1], time.monotonic()))

    def disconnected(self, *_):
        self.losses.append(time.monotonic())

    def take(self, _client, _data, message):
        words = message.topic.split("/")
        payload = message.payload
        if words[1] == "clients":
            request = self.requests.get(message.properties.CorrelationData)
            if request:
                request.answer = json.loads(payload)
        elif words[2] == "status":
            self.statuses[int(words[1])] = json.loads(payload)
        elif words[2] == "operations":
            request = Request(int(words[1]), "/".join(words[3:]), payload.decode())
            request = self.requests.setdefault(message.properties.CorrelationData, request)
            request.sent += 1
        elif words[2] == "records":
            self.take_record(int(words[1]), "/".join(words[3:]), message)

    def take_record(self, dst, key, message):
        self.records[dst] += not message.retain
        if not message.payload:
            self.held[dst].pop(key, None)
            return
        self.held[dst][key] = message.payload
        if key.startswith("11/"):
            name = NAME.search(message.payload.decode())
            generation = dict(message.properties.UserProperty)["generation"]
            if name:
                self.plays["play " + name.group()].add((dst, generation, key))

    def active(self):
        """Number of the active server, None while there is none."""
        active = [dst for dst, status in list(self.statuses.items())
                  if status["state"] == "online" and status["role"] == "active"]
        return active[0] if len(active) == 1 else None

    def unanswered(self):
        return sum(request.answer is None for request in list(self.requests.values())[-50:])

    def difference(self, dst):
        """How what the broker holds of a server differs from the server's status; empty: in nothing."""
        held = dict(self.held[dst])
        kinds = defaultdict(lambda: [0, 0])
        for key, payload in held.items():
            kind = key.split("/")[0]
            kinds[kind][0] += 1
            kinds[kind][1] = (kinds[kind][1] + checksum(*key.split("/"), payload)) % 2**64
        found = {kind: (count, f"{total:016x}") for kind, (count, total) in kinds.items()}
        wanted = {kind: (summary["count"], summary["checksum"])
                  for kind, summary in self.statuses[dst].get("kinds", {}).items()}
        return "" if found == wanted else f"held {found}, status {wanted}"
