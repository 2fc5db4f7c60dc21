# SPDX-License-Identifier: MIT
"""A headless Chromium, controlled through chromedriver's HTTP interface."""
import base64
import json
import shutil
import socket
import subprocess
import tempfile
import time
import urllib.request

FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync"]


def is_installed():
    return shutil.which("chromium") is not None and shutil.which("chromedriver") is not None


class Browser:
    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="lxcfc-chromium-")
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        self.driver = subprocess.Popen(["chromedriver", f"--port={port}", "--log-level=OFF"],
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.url = f"http://127.0.0.1:{port}"
        self.session = None
        flags = FLAGS + [f"--user-data-dir={self.folder}"]
        options = {"binary": shutil.which("chromium"), "args": flags}
        capabilities = {"browserName": "chrome", "goog:chromeOptions": options,
                        "goog:loggingPrefs": {"browser": "ALL"}}
        self._wait_until_ready()
        answer = self._call("POST", "/session", {"capabilities": {"alwaysMatch": capabilities}})
        self.session = "/session/" + answer["sessionId"]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        try:
            if self.session:
                self._call("DELETE", self.session)
        finally:
            self.driver.terminate()
            self.driver.wait(20)
            shutil.rmtree(self.folder, ignore_errors=True)

    def _wait_until_ready(self):
        for _ in range(100):
            try:
                if self._call("GET", "/status")["ready"]:
                    return
            except OSError:
                time.sleep(0.1)
        raise RuntimeError("chromedriver does not answer")

    def _call(self, method, path, body=None):
        data = None if method == "GET" or method == "DELETE" else json.dumps(body or {}).encode()
        request = urllib.request.Request(self.url + path, data, {"Content-Type": "application/json"},
                                         method=method)
        with urllib.request.build_opener(urllib.request.ProxyHandler({})).open(request, timeout=60) as answer:
            return json.load(answer)["value"]

    def open(self, url):
        self._call("POST", self.session + "/url", {"url": url})

    def run(self, script, *arguments):
        """Runs a script and returns its result."""
        return self._call("POST", self.session + "/execute/sync", {"script": script, "args": list(arguments)})

    def wait_for(self, script, *arguments):
        """Runs an asynchronous script, and returns the value that it passes to its last argument, a callback."""
        return self._call("POST", self.session + "/execute/async", {"script": script, "args": list(arguments)})

    def _devtools(self, command, **parameters):
        self._call("POST", self.session + "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def look(self, width, height, colours="light", media=""):
        """Sets the size of the viewport, the preferred colour scheme and the CSS media type."""
        self._devtools("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                       mobile=False)
        self._devtools("Emulation.setEmulatedMedia", media=media,
                       features=[{"name": "prefers-color-scheme", "value": colours}])

    def pdf(self):
        """The page printed as a PDF."""
        return base64.b64decode(self._call("POST", self.session + "/print", {}))

    def keys(self, text):
        """Sends keys to the element that has the focus."""
        actions = [action for key in text for action in ({"type": "keyDown", "value": key},
                                                         {"type": "keyUp", "value": key})]
        self._call("POST", self.session + "/actions",
                   {"actions": [{"type": "key", "id": "keys", "actions": actions}]})

    def problems(self):
        """The errors and warnings that the page wrote to the console."""
        log = self._call("POST", self.session + "/se/log", {"type": "browser"})
        return [entry["message"] for entry in log if entry["level"] in ("SEVERE", "WARNING")]
