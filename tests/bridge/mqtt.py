"""Mosquitto, NATS, guest-services-bridge and clients of the broker, as processes and connections."""

import json
import os
import queue
import re
import signal
import socket
import subprocess
import tempfile
import threading
import time

import paho.mqtt.client as paho
from paho.mqtt.packettypes import PacketTypes
from paho.mqtt.properties import Properties
from paho.mqtt.subscribeoptions import SubscribeOptions

BROKER = "/usr/sbin/mosquitto"
ROOT = "gs/hotel/101/"


def find_port():
    with socket.create_server(("127.0.0.1", 0)) as server:
        return server.getsockname()[1]


def wait_for(condition, what, seconds=30):
    """Waits until `condition` returns something true, and returns that."""
    end = time.monotonic() + seconds
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise AssertionError(f"not within {seconds} s: {what}")
        time.sleep(0.02)


class Broker:
    """A broker on a port of the loopback, which stays over restarts."""

    def __init__(self, folder, *lines):
        self.port, self.folder = find_port(), tempfile.mkdtemp(dir=folder)
        self.log = os.path.join(self.folder, "log")
        with open(os.path.join(self.folder, "conf"), "w") as file:
            file.write("\n".join([f"listener {self.port} 127.0.0.1", "set_tcp_nodelay true", "user root",
                                  "max_queued_messages 0", *lines, ""]))
        self.start()

    def start(self):
        with open(self.log, "a") as log:
            self.process = subprocess.Popen([BROKER, "-c", "conf"], cwd=self.folder, stderr=log)
        wait_for(self.is_open, "the broker's port")

    def is_open(self):
        assert self.process.poll() is None, open(self.log).read()
        try:
            socket.create_connection(("127.0.0.1", self.port), 1).close()
        except ConnectionRefusedError:
            return False
        return True

    def end(self, how=signal.SIGTERM):
        self.process.send_signal(signal.SIGCONT)
        self.process.send_signal(how)
        self.process.wait()


class Cluster:
    """Three NATS servers that speak MQTT 3.1.1. `ports` are those of MQTT."""

    def __init__(self, folder):
        self.ports, routes = ([find_port() for _ in range(3)] for _ in range(2))
        self.nodes = []
        for number in range(3):
            path = tempfile.mkdtemp(dir=folder)
            with open(os.path.join(path, "conf"), "w") as file:
                file.write(f"""server_name: n{number}
                    listen: "127.0.0.1:{find_port()}"
                    jetstream {{ store_dir: "{path}" }}
                    mqtt {{ listen: "127.0.0.1:{self.ports[number]}" }}
                    cluster {{ name: hotel, listen: "127.0.0.1:{routes[number]}",
                               routes: {json.dumps([f"nats://127.0.0.1:{port}" for port in routes])} }}
                    """)
            with open(os.path.join(path, "log"), "w") as log:
                self.nodes.append(subprocess.Popen(["nats-server", "-c", os.path.join(path, "conf")],
                                                   stderr=log))

    def end(self):
        for node in self.nodes:
            node.kill()
            node.wait()


class Bridge:
    """A bridge of the site hotel. `log` is what it has logged."""

    def __init__(self, program, host_port, *arguments, room="101"):
        self.process = subprocess.Popen(
            [program, "--host", f"127.0.0.1:{host_port}", "--site", "hotel", "--room", room, *arguments],
            stderr=subprocess.STDOUT, stdout=subprocess.PIPE, text=True)
        self.log = []
        self.reader = threading.Thread(target=lambda: self.log.extend(self.process.stdout))
        self.reader.start()

    def end(self, how=signal.SIGTERM):
        self.process.send_signal(how)
        self.reader.join()
        with self.process:
            return self.process.wait()

    def wait_for_log(self, text, seconds=30):
        try:
            wait_for(lambda: any(text in line for line in self.log), f"the bridge logs {text!r}", seconds)
        except AssertionError as error:
            raise AssertionError(f"{error}: {self.log}") from None

    def measure(self):
        """Its proportional set size in kB, and its open descriptors."""
        with open(f"/proc/{self.process.pid}/smaps_rollup") as file:
            size = int(re.search(r"^Pss: +(\d+)", file.read(), re.M).group(1))
        return size, len(os.listdir(f"/proc/{self.process.pid}/fd"))


class Client(paho.Client):
    """A client of a broker. `retained` has the payloads of the retained topics that it watches,
    `events` the events, `replies` the latest answer to each correlation, `heard` all messages. A
    user's password is its name."""

    def __init__(self, port, watched=("gs/#", "homeassistant/#"), connect=True, user=None,
                 is_version5=True, **options):
        super().__init__(protocol=paho.MQTTv5 if is_version5 else paho.MQTTv311, **options)
        self.retained, self.events = {}, queue.Queue()
        self.watched, self.replies, self.heard, self.is_ready = watched, {}, [], False
        self.on_connect = lambda *_: self.subscribe(
            [(topic, SubscribeOptions(qos=0) if is_version5 else 0) for topic in self.watched])
        self.on_subscribe = self.take_granted
        self.on_message = self.take_message
        self.port = port
        self.username_pw_set(user, user)
        if connect:
            self.open()

    def open(self):
        self.connect("127.0.0.1", self.port)
        self.loop_start()
        wait_for(lambda: self.is_ready, "the client is connected")
        return self

    def close(self):
        self.disconnect()
        self.loop_stop()

    def take_granted(self, *_):
        self.is_ready = True

    def take_message(self, _client, _userdata, message):
        payload = message.payload.decode(errors="replace")
        self.heard.append((message.topic, payload))
        correlation = getattr(getattr(message, "properties", None), "CorrelationData", None)
        if message.topic.startswith("gs/hotel/reply/"):
            self.replies[correlation] = payload
        elif message.topic.endswith("/event"):
            self.events.put((message.topic, payload))
        elif message.topic.startswith("homeassistant/"):
            pass
        elif message.retain or not re.search("/(set|command|sync)$", message.topic):
            self.retained[message.topic] = payload
            if not payload:
                del self.retained[message.topic]

    def send(self, topic, payload, **options):
        self.publish(ROOT + topic, payload, qos=1, **options)

    def command(self, correlation, **command):
        """Sends a command; its answer will be in `replies`."""
        properties = Properties(PacketTypes.PUBLISH)
        properties.ResponseTopic = "gs/hotel/reply/101/test"
        properties.CorrelationData = correlation.encode()
        self.send("command", json.dumps(command), properties=properties)

    def ask(self, correlation, **command):
        """Sends a command, and returns its answer."""
        self.replies.pop(correlation.encode(), None)
        self.command(correlation, **command)
        return json.loads(wait_for(lambda: self.replies.get(correlation.encode()), "an answer"))


def read_retained(port, root=ROOT, **options):
    """What a broker has under the topics of a room."""
    client = Client(port, [root + "#"], **options)
    # What is retained comes before the answer to a later command.
    mark = []
    client.on_unsubscribe = lambda *_: mark.append(True)
    client.unsubscribe(root + "#")
    wait_for(lambda: mark, "the broker's answer")
    client.close()
    return client.retained


def is_shown(port, host_client, root=ROOT, **options):
    """Whether a broker has the host's list and no more, and says online."""
    listed = {root + f"service/{service.get('id')}": (service.get("name"), service.get("state") == "1")
              for service in host_client.ask("GET_ALL_SERVICES").iter("guest_service")}
    retained = read_retained(port, root, **options)
    status, summary = retained.pop(root + "status", None), retained.pop(root + "summary", None)
    retained.pop(root + "generations", None)
    # Leftovers that the bridge has not removed yet may be no JSON.
    if status != "online" or summary is None or set(retained) != set(listed):
        return False
    shown = {topic: (json.loads(text)["name"], json.loads(text)["open"])
             for topic, text in retained.items()}
    count = sum(is_open for _, is_open in listed.values())
    return shown == listed and json.loads(summary)["open"] == count
