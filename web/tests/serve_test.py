# SPDX-License-Identifier: Apache-2.0
"""What scripts/web says when it cannot do what it is asked."""
import os
import socket
import subprocess
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


class ServeTest(unittest.TestCase):
    def run_at(self, port):
        return subprocess.run([sys.executable, ROOT / "web/serve.py"], env={**os.environ, "PORT": port},
                              capture_output=True, text=True, timeout=30)

    def test_port_that_cannot_be_used(self):
        with socket.create_server(("127.0.0.1", 0)) as busy:
            for port in (str(busy.getsockname()[1]), "70000", "web"):
                ended = self.run_at(port)
                self.assertEqual((ended.returncode, ended.stdout, ended.stderr.count("\n")), (1, "", 1), ended.stderr)
                self.assertIn(f"port {port}", ended.stderr)

    def test_unknown_options_are_refused(self):
        for options in (["--serve"], ["--build", "now"]):
            ended = subprocess.run([ROOT / "scripts/web", *options], capture_output=True, text=True, timeout=30)
            self.assertEqual((ended.returncode, ended.stdout), (2, ""), options)


if __name__ == "__main__":
    unittest.main(verbosity=2)
