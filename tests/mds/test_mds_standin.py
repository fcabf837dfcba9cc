"""The stand-in of a push server refuses what the wire forbids."""
import base64
import email.utils
import json
import pathlib
import socket
import tempfile
import threading
import time
import unittest

import mds_standin

DATE = email.utils.formatdate(time.time() + 86400, usegmt=True)
MESSAGE = [("X-RIM-Push-Type", "Browser-Message"), ("Content-Location", "http://x/"),
           ("X-RIM-Push-Title", "t"), ("X-RIM-Push-Description", ""),
           ("X-RIM-Push-Deliver-Before", DATE)]
PATH = "/push?DESTINATION=20FF&PORT=7874&REQUESTURI=/"


def reason(path=PATH, headers=None, body=b""):
    return mds_standin.check(path, MESSAGE if headers is None else headers, body)


def with_header(name, value, place):
    return MESSAGE[:place] + [(name, value)] + MESSAGE[place:]


class Rules(unittest.TestCase):
    def test_a_message_passes(self):
        self.assertIsNone(reason())
        self.assertIsNone(reason(headers=[("Host", "h"), ("Accept", "*/*")] + MESSAGE))

    def test_the_query_stands_as_it_must(self):
        for path in ("/push?PORT=7874&DESTINATION=1&REQUESTURI=/", "/push", "/other" + PATH[5:],
                     "/push?DESTINATION=&PORT=7874&REQUESTURI=/",
                     "/push?DESTINATION=1&PORT=7875&REQUESTURI=/",
                     "/push?DESTINATION=1&PORT=7874&REQUESTURI=/x"):
            self.assertIsNotNone(reason(path), path)

    def test_headers_have_their_order(self):
        self.assertIsNotNone(reason(headers=list(reversed(MESSAGE))))
        self.assertIsNotNone(reason(headers=MESSAGE[:-1]))
        self.assertIsNotNone(reason(headers=with_header("X-RIM-Push-Channel-ID", "1", 4)))
        self.assertIsNotNone(reason(headers=with_header("X-Other", "1", 0)))
        self.assertIsNone(reason(headers=with_header("Cache-Control", "max-age=0", 1)))
        self.assertIsNotNone(reason(headers=with_header("Cache-Control", "max-age=0", 2)))

    def test_pairs_go_together(self):
        self.assertIsNotNone(reason(headers=with_header("Content-Type", "text/html", 1)))
        self.assertIsNotNone(reason(headers=with_header("X-RIM-Push-NotifyURL", "u", 1)))
        self.assertIsNotNone(reason(body=b"x"))

    def test_values_have_their_forms(self):
        self.assertIsNotNone(reason(headers=[("X-RIM-Push-Type", "browser-message")] + MESSAGE[1:]))
        old = email.utils.formatdate(time.time(), usegmt=True)
        self.assertIsNotNone(reason(headers=MESSAGE[:-1] + [("X-RIM-Push-Deliver-Before", old)]))
        self.assertIsNotNone(reason(headers=with_header("Authorization", "Basic !", 0)))
        credential = "Basic " + base64.b64encode(b"name:").decode()
        self.assertIsNone(reason(headers=with_header("Authorization", credential, 0)))

    def test_payloads_have_one_header(self):
        path = PATH.replace("7874", "8765")
        plain = [("Content-Type", "application/x-www-form-urlencoded")]
        self.assertIsNone(reason(path, plain, b"x"))
        self.assertIsNotNone(reason(path, plain, b""))
        self.assertIsNotNone(reason(path, MESSAGE, b"x"))


class Serving(unittest.TestCase):
    def setUp(self):
        self.server = mds_standin.Standin()
        self.thread = threading.Thread(target=self.server.serve_forever, args=(0.01,))
        self.thread.start()

    def tearDown(self):
        self.server.stopping.set()
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()

    def ask(self, method, path, headers=(), body=b"", wait=5):
        head = f"{method} {path} HTTP/1.1\r\nHost: h\r\n"
        head += "".join(f"{name}: {value}\r\n" for name, value in headers)
        if method == "POST":
            head += f"Content-Length: {len(body)}\r\n"
        with socket.create_connection(self.server.server_address, wait) as peer:
            peer.sendall(head.encode() + b"Connection: close\r\n\r\n" + body)
            answer = b""
            while piece := peer.recv(65536):
                answer += piece
        return answer.decode()

    def test_what_a_handheld_got_is_kept(self):
        self.assertIn(" 200 ", self.ask("GET", "/"))
        self.assertIn(" 200 ", self.ask("POST", PATH, MESSAGE))
        self.assertIn(" 400 ", self.ask("POST", PATH, MESSAGE[1:]))
        got = json.loads(self.ask("GET", "/handhelds/20FF").split("\r\n\r\n")[1])
        self.assertEqual(len(got), 1)
        self.assertIn(["X-RIM-Push-Title", "t"], got[0]["headers"])
        self.assertEqual(json.loads(self.ask("GET", "/handhelds").split("\r\n\r\n")[1]), ["20FF"])

    def test_it_behaves_as_told(self):
        for mode in ("401", "403", "500"):
            self.ask("POST", f"/control?mode={mode}&pin=20FF")
            self.assertIn(f" {mode} ", self.ask("POST", PATH, MESSAGE))
        self.ask("POST", "/control?mode=close&pin=20FF")
        self.assertEqual(self.ask("POST", PATH, MESSAGE), "")
        self.ask("POST", "/control?mode=nonsense&pin=20FF")
        self.assertNotIn("HTTP/", self.ask("POST", PATH, MESSAGE))
        self.ask("POST", "/control?mode=never&pin=20FF")
        with self.assertRaises(TimeoutError):
            self.ask("POST", PATH, MESSAGE, wait=0.3)
        self.assertEqual(self.server.pushes, {})
        self.assertIn(" 400 ", self.ask("POST", "/control?mode=odd"))
        other = PATH.replace("20FF", "30FF")
        self.assertIn(" 200 ", self.ask("POST", other, MESSAGE))

    def test_a_proxy_stands_in_for_every_push_server(self):
        whole = "http://bes.example.test:8080"
        self.assertIn(" 200 ", self.ask("GET", whole))
        headers = [("Proxy-Connection", "Keep-Alive")] + MESSAGE
        self.assertIn(" 200 ", self.ask("POST", whole + PATH, headers))
        self.assertEqual(list(self.server.pushes), ["20FF"])
        self.assertIn(" 404 ", self.ask("GET", "http://intranet.example.test/m/"))

    def test_pages_lie_in_the_folder_of_their_host(self):
        with tempfile.TemporaryDirectory() as folder:
            page = pathlib.Path(folder, "intranet.example.test", "m", "index.html")
            page.parent.mkdir(parents=True)
            page.write_text("<p>h\u00e9</p>", encoding="utf-8")
            pathlib.Path(folder, "secret").write_text("no", encoding="utf-8")
            self.server.site = pathlib.Path(folder).resolve()
            answer = self.ask("GET", "http://Intranet.example.test/m/?x=1")
            self.assertIn("text/html", answer)
            self.assertIn("<p>h\u00e9</p>", answer)
            for path in ("/m/none.html", "/../secret", "/%2e%2e/secret", "//secret"):
                answer = self.ask("GET", "http://intranet.example.test" + path)
                self.assertIn(" 404 ", answer, path)
            self.assertIn(" 404 ", self.ask("GET", "http://../secret"))
            self.assertIn(" 200 ", self.ask("GET", "http://bes.example.test:8080/"))

    def test_slow_is_slow(self):
        self.ask("POST", "/control?mode=slow&seconds=0.3")
        start = time.monotonic()
        self.assertIn(" 200 ", self.ask("POST", PATH, MESSAGE))
        self.assertGreaterEqual(time.monotonic() - start, 0.3)


if __name__ == "__main__":
    unittest.main()
