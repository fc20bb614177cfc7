"""A socket between a program and the server that does something in the middle of an answer.

The moment is a count of bytes, not a time, so that it is the same in every run: the action runs to
its end before anything more is passed on.
"""

import os
import socket
import threading


class CuttingProxy:
    """Listens on a local socket; `action` runs once, after `after_bytes` came from the server."""

    def __init__(self, path, server_path, after_bytes, action):
        self.url = "ldapi://" + path.replace("/", "%2F")
        self.struck = False
        self._server_path = server_path
        self._after_bytes = after_bytes
        self._action = action
        self._passed = 0
        if os.path.exists(path):
            os.unlink(path)
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(path)
        self._listener.listen(16)
        threading.Thread(target=self._accept, daemon=True).start()

    def close(self):
        self._listener.close()

    def _accept(self):
        while True:
            try:
                client, _ = self._listener.accept()
            except OSError:
                return
            server = socket.socket(socket.AF_UNIX)
            try:
                server.connect(self._server_path)
            except OSError:
                # The client sees what it would see of the server itself: nobody there.
                server.close()
                client.close()
                continue
            for source, target, counted in ((client, server, False), (server, client, True)):
                threading.Thread(target=self._pass_on, args=(source, target, counted),
                                 daemon=True).start()

    def _pass_on(self, source, target, counted):
        try:
            while data := source.recv(65536):
                if counted:
                    self._count(len(data))
                target.sendall(data)
        except OSError:
            pass
        for end in (source, target):
            try:
                end.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass

    def _count(self, length):
        self._passed += length
        if not self.struck and self._passed >= self._after_bytes:
            self.struck = True
            self._action()
