#!/usr/bin/env python3
"""Runs the part of a test program that needs servers of this machine, an HTTPS one and a proxy:

    other_servers_test.py COMMAND [ARGUMENT ...]

Nobody vouches for the HTTPS server's certificate; the program finds its port in NORIX_TEST_HTTPS_PORT. The proxy, in
http_proxy, asks no other server but answers with the address that it was asked for. Exit code 77 (skipped) without
openssl to make the certificate.
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
        body = b"secure" if self.path.startswith("/") else self.path.encode()
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


def serve(server):
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server.server_address[1]


def main():
    if not shutil.which("openssl"):
        print("skipped: no openssl")
        return 77
    with tempfile.TemporaryDirectory() as folder:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(*make_certificate(folder))
        with Server(("127.0.0.1", 0), Handler) as secure, Server(("127.0.0.1", 0), Handler) as proxy:
            secure.socket = context.wrap_socket(secure.socket, server_side=True, do_handshake_on_connect=False)
            runs = [{"NORIX_TEST_HTTPS_PORT": str(serve(secure))}, {"http_proxy": f"http://127.0.0.1:{serve(proxy)}"}]
            return max(subprocess.run(sys.argv[1:], env=os.environ | run).returncode for run in runs)


if __name__ == "__main__":
    sys.exit(main())
