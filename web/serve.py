# SPDX-License-Identifier: Apache-2.0
"""Serves web/dist on this machine, at the port PORT or 8000, and prints its address. scripts/web starts it."""
import functools
import http.server
import os
import sys
from pathlib import Path

FOLDER = Path(__file__).resolve().parent / "dist"


def main():
    port = os.environ.get("PORT", "8000")
    handler = functools.partial(http.server.SimpleHTTPRequestHandler, directory=str(FOLDER))
    try:
        server = http.server.ThreadingHTTPServer(("127.0.0.1", int(port)), handler)
    except (OSError, OverflowError, ValueError) as error:
        reason = getattr(error, "strerror", None) or "no number of a port"
        sys.exit(f"scripts/web: port {port}: {reason}. PORT=N scripts/web takes another.")
    print(f"\nThe page: http://localhost:{server.server_port}/ (Ctrl-C ends it)", flush=True)
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass


if __name__ == "__main__":
    main()
