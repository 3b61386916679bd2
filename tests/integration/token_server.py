"""Tells a mail server which OAuth tokens are good (RFC 7662), on loopback: token_server.py TOKEN=USER...

Prints its port, and ends when standard input does.
"""

import http.server
import json
import sys
import threading
import urllib.parse

_MAX_REQUEST = 10_000


class Introspection(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    timeout = 20
    users = {}

    def do_POST(self):
        size = min(int(self.headers.get("Content-Length", "0")), _MAX_REQUEST)
        form = urllib.parse.parse_qs(self.rfile.read(size).decode())
        user = self.users.get(form.get("token", [""])[0])
        answer = json.dumps({"active": True, "username": user} if user else {"active": False}).encode()
        self.send_response(200)
        self.send_header("Content-Type", "application/json")
        self.send_header("Content-Length", str(len(answer)))
        self.end_headers()
        self.wfile.write(answer)

    def log_message(self, *_):
        pass


def main():
    Introspection.users = dict(argument.split("=", 1) for argument in sys.argv[1:])
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Introspection)
    server.daemon_threads = True
    threading.Thread(target=server.serve_forever, daemon=True).start()
    print(server.server_port, flush=True)
    sys.stdin.read()
    server.shutdown()


if __name__ == "__main__":
    main()
