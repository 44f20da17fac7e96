"""The main job on real input: a web page over TCP and an echo over UDP, through the Linux program."""
import http.client
import http.server
import pathlib
import sys
import tempfile
import threading

import sample_servers
import settings_file
import zelkor_process

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = b"<html><body>A page that came through the forwarder.</body></html>\n"
DATAGRAMS = (b"one", b"two", b"x" * 1200)
EVENTS = 3  # a TCP session that is accepted and ends, a UDP session that is accepted


class Page(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.send_response(200)
        self.send_header("Content-Length", str(len(PAGE)))
        self.end_headers()
        self.wfile.write(PAGE)

    def log_message(self, *_):
        pass


def start_web_server():
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Page)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server.server_address[1]


def fetch_page(port):
    """Straight to the port, whatever proxy the user's other programs go through."""
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=30)
    connection.request("GET", "/")
    page = connection.getresponse().read()
    connection.close()
    return page


def show():
    tcp_port, udp_port = sample_servers.free_port("tcp"), sample_servers.free_port("udp")
    with tempfile.TemporaryDirectory() as folder:
        log = pathlib.Path(folder) / "events.log"
        file = pathlib.Path(folder) / "sample.KVR"
        operations = [
            settings_file.Operation(settings_file.TCP, tcp_port, "localhost", start_web_server()),
            settings_file.Operation(settings_file.UDP, udp_port, "127.0.0.1", sample_servers.EchoServer("udp").port),
        ]
        file.write_bytes(settings_file.Settings(operations, log_path=str(log), log_seconds=1).bytes())
        with zelkor_process.Process(ROOT / "build/linux/zelkor", file) as program:
            program.wait_until(lambda: len(program.out) == len(operations))
            print("\n".join(program.out))
            fetched = fetch_page(tcp_port)
            print(f"TCP: fetched a page of {len(fetched)} bytes: {fetched.decode().strip()}")
            client = sample_servers.Client("udp", udp_port)
            for datagram in DATAGRAMS:
                print(f"UDP: sent {len(datagram)} bytes and got {len(client.echo(datagram))} back")
            program.wait_until(lambda: log.exists() and log.read_bytes().count(b"\r\n") >= EVENTS, "the log")
            print("The log says:")
            print(log.read_bytes().decode("cp1252").replace("\r\n", "\n  ").lstrip("\n"))
            code = program.end()
        if fetched != PAGE or code != 0:
            sys.exit(f"the page or the end was not as it should be (exit code {code})")
    print("Ended with 0, settings saved.")


def main():
    try:
        show()
    except (AssertionError, OSError, RuntimeError, http.client.HTTPException) as error:
        sys.exit(f"The demonstration failed: {error}")


if __name__ == "__main__":
    main()
