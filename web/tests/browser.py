# SPDX-License-Identifier: Apache-2.0
"""Headless Chromium, a server of this machine and what the tests of package and page share."""
import atexit
import functools
import http.server
import os
import shutil
import tempfile
import threading
import time
import unittest
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

ROOT = Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "web"
FOLDERS = {"/package/": WORK / "project/node_modules/@orvane/web", "/references/": WORK / "references",
           "/tests/": ROOT / "web/tests", "/broken/": WORK / "broken", "/": ROOT / "web/dist"}


class Handler(http.server.SimpleHTTPRequestHandler):
    """Serves the page at the root, and beside it what tests need; `missing` are paths that it does not find."""

    missing = set()
    extensions_map = {**http.server.SimpleHTTPRequestHandler.extensions_map, ".wasm": "application/wasm"}

    def translate_path(self, path):
        if path.partition("?")[0] in self.missing:
            return os.devnull + "/none"
        prefix = next(prefix for prefix in FOLDERS if path.startswith(prefix))
        self.directory = str(FOLDERS[prefix])
        return super().translate_path("/" + path[len(prefix):])

    def end_headers(self):
        self.send_header("Cache-Control", "no-store")
        super().end_headers()

    def log_message(self, *_):
        pass


@functools.cache
def serve():
    """Starts a server; returns its address."""
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Handler, directory=str(ROOT)))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return f"http://127.0.0.1:{server.server_port}"


@functools.cache
def start():
    """A browser without a profile, which may play sound without being clicked; it ends with the program."""
    profile = tempfile.mkdtemp(prefix="orvane-web-")
    atexit.register(shutil.rmtree, profile, ignore_errors=True)
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for argument in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--disable-dev-shm-usage", f"--user-data-dir={profile}",
                     "--autoplay-policy=no-user-gesture-required"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    atexit.register(driver.quit)
    driver.set_script_timeout(120)
    return driver


def call(driver, body, *arguments):
    """The value of an async JavaScript function body, whose arguments are in `args`."""
    script = ("const args = [...arguments], done = args.pop();"
              "(async () => {" + body + "})().then(value => done({value}), error => done({error: String(error.stack)}))")
    answer = driver.execute_async_script(script, *arguments)
    if "error" in answer:
        raise RuntimeError(answer["error"])
    return answer.get("value")


class BrowserTest(unittest.TestCase):
    """A test in the browser, which all of them share."""

    @classmethod
    def setUpClass(cls):
        cls.address = serve()
        cls.driver = start()

    def setUp(self):
        self.complaints()  # about the test before

    def open(self, path="/index.html"):
        self.driver.get(self.address + path)
        if path == "/index.html":
            self.wait("document.documentElement.dataset.ready", 20)

    def find(self, selector):
        return self.driver.find_element("css selector", selector)

    def script(self, body, *arguments):
        return self.driver.execute_script(body, *arguments)

    def wait(self, condition, seconds=60):
        """Waits for a JavaScript expression to hold."""
        end = time.monotonic() + seconds
        while not self.script(f"return Boolean({condition})"):
            if time.monotonic() > end:
                message = self.script("return document.querySelector('#message')?.textContent")
                self.fail(f"waited {seconds} s for {condition}; the page says: {message}")
            time.sleep(0.1)

    def wait_for_message(self, text, seconds=60):
        self.wait(f"document.querySelector('#message').textContent.includes({text!r})", seconds)

    def play(self, scene=None):
        if scene:
            self.script("const s = document.querySelector('#scene'); s.value = arguments[0]; s.onchange()", scene)
        if self.find("#play").text == "Play":
            self.find("#play").click()
        self.wait_for_message("is playing")

    def complaints(self):
        """What the browser complained about since it was last asked."""
        return [entry["message"] for entry in self.driver.get_log("browser") if entry["level"] == "SEVERE"]

    def assert_no_complaints(self):
        self.assertEqual(self.complaints(), [])

    def before_load(self, source):
        """Has every page run a script before its own ones, until the test ends."""
        added = self.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": source})
        self.addCleanup(self.driver.execute_cdp_cmd, "Page.removeScriptToEvaluateOnNewDocument", added)
