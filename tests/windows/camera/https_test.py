#!/usr/bin/env python3
"""Runs the HTTPS part of a test program against a server with a certificate that nobody vouches for:

    https_test.py COMMAND [ARGUMENT ...]

The program finds the port in NORIX_TEST_HTTPS_PORT. Exit code 77 (skipped) without openssl to make the certificate.
"""

import http.server
import os
import shutil
import ssl
import subprocess
import sys
import tempfile
import threading


class Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        body = b"secure"
        self.send_response(200)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *_):
        pass


def make_certificate(folder):
    key, certificate = f"{folder}/key.pem", f"{folder}/certificate.pem"
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=camera",
                    "-keyout", key, "-out", certificate], check=True, stderr=subprocess.DEVNULL)
    return certificate, key


class Server(http.server.ThreadingHTTPServer):
    def handle_error(self, *_):
        pass  # a refused handshake is what a test wants


def main():
    if not shutil.which("openssl"):
        print("skipped: no openssl")
        return 77
    with tempfile.TemporaryDirectory() as folder:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(*make_certificate(folder))
        with Server(("127.0.0.1", 0), Handler) as server:
            server.socket = context.wrap_socket(server.socket, server_side=True, do_handshake_on_connect=False)
            threading.Thread(target=server.serve_forever, daemon=True).start()
            environment = dict(os.environ, NORIX_TEST_HTTPS_PORT=str(server.server_address[1]))
            result = subprocess.run(sys.argv[1:], env=environment).returncode
            server.shutdown()
            return result


if __name__ == "__main__":
    sys.exit(main())
