# Serves a folder over HTTPS on 127.0.0.1 for tests: a replica of a web site with a certificate made here, valid for
# localhost, www.localhost and 127.0.0.1.
# Arguments: root, a folder for the certificate (cert.pem, key.pem) and the request log (requests.log), and the host
# to put in place of ncvec.org in served HTML pages ("-" to leave them unchanged).
# Prints the chosen port on the first line of standard output. A file NAME.redirect answers 302 to its content, a
# file NAME.status answers with the status code it holds.
import http.server
import os
import ssl
import subprocess
import sys
import urllib.parse

root, folder, host = os.path.abspath(sys.argv[1]), sys.argv[2], sys.argv[3]
rewrite = host.encode() if host != "-" else None
cert, key, log = (os.path.join(folder, name) for name in ("cert.pem", "key.pem", "requests.log"))
subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", cert, "-days", "2",
                "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost,DNS:www.localhost,IP:127.0.0.1"],
               check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def send(self, status, body=b"", headers=()):
        self.send_response(status)
        for name, value in headers:
            self.send_header(name, value)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def do_GET(self):
        with open(log, "a", encoding="utf-8") as f:
            f.write(self.path + "\n")
        path = urllib.parse.unquote(urllib.parse.urlsplit(self.path).path)
        full = os.path.normpath(os.path.join(root, path.lstrip("/")))
        if full != root and not full.startswith(root + os.sep):
            return self.send(404, b"not found")
        if os.path.isfile(full + ".status"):
            with open(full + ".status", encoding="utf-8") as f:
                return self.send(int(f.read().strip()), b"failed")
        if os.path.isfile(full + ".redirect"):
            with open(full + ".redirect", encoding="utf-8") as f:
                target = f.read().strip()
            return self.send(302, b"moved", [("Location", target)])
        for candidate in (full, full + ".html"):
            if os.path.isfile(candidate):
                with open(candidate, "rb") as f:
                    body = f.read()
                if rewrite and candidate.endswith(".html"):
                    body = body.replace(b"ncvec.org", rewrite)
                return self.send(200, body, [("Content-Type", "application/octet-stream")])
        self.send(404, b"not found")

    def log_message(self, *args):
        pass


class Server(http.server.ThreadingHTTPServer):
    def handle_error(self, request, client_address):
        pass  # clients that hang up early (a refused oversized body) are expected


server = Server(("127.0.0.1", 0), Handler)
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(cert, key)
server.socket = context.wrap_socket(server.socket, server_side=True)
print(server.server_address[1], flush=True)
server.serve_forever()
