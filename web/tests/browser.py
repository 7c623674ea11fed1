# SPDX-License-Identifier: Apache-2.0
"""Headless Chromium and a server of this machine, for the tests and the benchmark."""
import functools
import http.server
import tempfile
import threading
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

ROOT = Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "web"
FOLDERS = {"/package/": WORK / "project/node_modules/@orvane/web", "/references/": WORK / "references",
           "/tests/": ROOT / "web/tests", "/": ROOT / "web/dist"}


class Handler(http.server.SimpleHTTPRequestHandler):
    """Serves the page at the root, and beside it what tests need."""

    extensions_map = {**http.server.SimpleHTTPRequestHandler.extensions_map, ".wasm": "application/wasm"}

    def translate_path(self, path):
        prefix = next(prefix for prefix in FOLDERS if path.startswith(prefix))
        self.directory = str(FOLDERS[prefix])
        return super().translate_path("/" + path[len(prefix):])

    def log_message(self, *_):
        pass


def serve():
    """Starts a server; returns its address."""
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Handler, directory=str(ROOT)))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return f"http://127.0.0.1:{server.server_port}"


def start():
    """A new browser without a profile, which may play sound without being clicked."""
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for argument in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--disable-dev-shm-usage", f"--user-data-dir={tempfile.mkdtemp(prefix='orvane-web-')}",
                     "--autoplay-policy=no-user-gesture-required"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
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
