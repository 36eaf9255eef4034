# SPDX-License-Identifier: MIT
"""The station as a process, and clients of it, with nothing but Python's own library."""

import base64
import json
import os
import queue
import socket
import struct
import subprocess
import threading
import time

PATIENCE = 60  # seconds, for what should take an instant


def fail_after(seconds, claim, what):
    """Asks again and again until the claim holds."""
    deadline = time.monotonic() + seconds
    while not claim():
        if time.monotonic() > deadline:
            raise AssertionError("waited in vain for " + what)
        time.sleep(0.02)


class Station:
    def __init__(self, program, *options, errors=None):
        self.process = subprocess.Popen(
            [program, *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=errors, text=True)
        first = self.process.stdout.readline()
        assert first.startswith("listening on 127.0.0.1:"), first
        self.port = int(first.rsplit(":", 1)[1])
        self.address = f"127.0.0.1:{self.port}"
        assert self.process.stdout.readline() == f"panel: http://{self.address}/\n"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.process.communicate()

    def command(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def end(self):
        """Asks it to end; its status."""
        self.process.terminate()
        return self.process.wait(PATIENCE)

    def connect(self):
        return socket.create_connection(("127.0.0.1", self.port), PATIENCE)


def exactly(connection, size):
    """So many bytes; fewer when the connection ends."""
    data = b""
    while len(data) < size:
        try:
            piece = connection.recv(size - len(data))
        except ConnectionError:
            break
        if not piece:
            break
        data += piece
    return data


class FramedClient:
    """A client on a plain connection: each message behind its length."""

    def __init__(self, station):
        self.socket = station.connect()

    def send(self, text):
        data = text if isinstance(text, bytes) else text.encode()
        self.socket.sendall(struct.pack(">I", len(data)) + data)

    def receive(self):
        """The bytes of the next header update; None when the connection has ended."""
        head = exactly(self.socket, 4)
        if len(head) < 4:
            return None
        return exactly(self.socket, struct.unpack(">I", head)[0])

    def ask(self, method, *params, id=7):
        self.send(json.dumps({"method": method, "params": params, "id": id}))
        return self.receive()


class WebSocketClient:
    """The least that is needed of WebSocket."""

    def __init__(self, station, path="/", **headers):
        self.socket = station.connect()
        fields = {"Host": station.address, "Upgrade": "websocket", "Connection": "Upgrade",
                  "Sec-WebSocket-Key": base64.b64encode(os.urandom(16)).decode(),
                  "Sec-WebSocket-Version": "13", **headers}
        lines = [f"GET {path} HTTP/1.1"] + [f"{name}: {value}" for name, value in fields.items()]
        self.socket.sendall(("\r\n".join(lines) + "\r\n\r\n").encode())
        head = b""
        while not head.endswith(b"\r\n\r\n"):
            piece = exactly(self.socket, 1)
            if not piece:
                break
            head += piece
        self.status = int(head.split()[1]) if head else None

    def send(self, data, opcode=1, final=True, claimed=None):
        data = data if isinstance(data, bytes) else data.encode()
        size = len(data) if claimed is None else claimed
        head = bytes([opcode | (0x80 if final else 0)])
        if size < 126:
            head += bytes([0x80 | size])
        elif size < 65536:
            head += bytes([0x80 | 126]) + struct.pack(">H", size)
        else:
            head += bytes([0x80 | 127]) + struct.pack(">Q", size)
        self.socket.sendall(head + b"\0\0\0\0" + data)  # a mask of zeros changes nothing

    def receive(self):
        """(opcode, data) of the next frame; None when the connection has ended."""
        head = exactly(self.socket, 2)
        if len(head) < 2:
            return None
        size = head[1] & 0x7F
        if size == 126:
            size = struct.unpack(">H", exactly(self.socket, 2))[0]
        elif size == 127:
            size = struct.unpack(">Q", exactly(self.socket, 8))[0]
        return head[0] & 0x0F, exactly(self.socket, size)

    def ask(self, method, *params, id=7):
        self.send(json.dumps({"method": method, "params": params, "id": id}))
        return self.receive()


class Lines:
    """The lines that a process prints, as they come."""

    def __init__(self, stream):
        self.lines = queue.Queue()
        threading.Thread(target=self._read, args=(stream,), daemon=True).start()

    def _read(self, stream):
        for line in stream:
            self.lines.put(line.rstrip("\n"))
        self.lines.put(None)

    def wait_for(self, wanted):
        seen = []
        while True:
            try:
                line = self.lines.get(timeout=PATIENCE)
            except queue.Empty:
                raise AssertionError(f"waited in vain for {wanted!r} behind {seen}") from None
            assert line is not None, f"the output ended before {wanted!r}: {seen}"
            if line == wanted:
                return
            seen.append(line)
