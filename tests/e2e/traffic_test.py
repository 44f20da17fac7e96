"""Much traffic: bulk data, many sessions at once, and as many as the program takes."""
import hashlib
import random
import resource
import threading
import unittest

from program import LOCALHOST, ProgramTest, wait_for

# (1497 - one operation) / 2
MOST_SESSIONS = 748
USUAL_FILE_LIMIT = 1024
NEEDED_FILES = 4096


class Traffic(ProgramTest):
    def test_bulk_data_comes_back_unchanged_on_many_sessions(self):
        server = self.server("tcp")
        _, port = self.start_operation("tcp", f"{LOCALHOST}:{server.port}")
        failures = []

        def carry(seed):
            client = self.client("tcp", port)
            data = random.Random(seed).randbytes(1 << 20)
            sender = threading.Thread(target=client.socket.sendall, args=(data,))
            sender.start()
            digest, left = hashlib.sha256(), len(data)
            while left > 0 and (piece := client.socket.recv(65536)):
                digest.update(piece)
                left -= len(piece)
            sender.join()
            if digest.digest() != hashlib.sha256(data).digest():
                failures.append(seed)

        threads = [threading.Thread(target=carry, args=(seed,)) for seed in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(failures, [])

    def test_each_udp_client_has_a_session_of_its_own(self):
        server = self.server("udp")
        _, port = self.start_operation("udp", f"{LOCALHOST}:{server.port}")
        clients = [self.client("udp", port) for _ in range(40)]
        for round_number in range(3):
            for number, client in enumerate(clients):
                client.socket.send(b"%d of %d" % (round_number, number))
            for number, client in enumerate(clients):
                self.assertEqual(client.socket.recv(100), b"%d of %d" % (round_number, number))
        self.assertEqual(len(set(server.clients)), len(clients))

    def test_as_many_sessions_as_the_program_takes_under_the_usual_file_limit(self):
        soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        if hard != resource.RLIM_INFINITY and hard < NEEDED_FILES:
            self.skipTest(f"this system allows a process only {hard} open files")
        # The clients and the servers of all sessions are files of this process.
        resource.setrlimit(resource.RLIMIT_NOFILE, (max(soft, NEEDED_FILES), hard))
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, (soft, hard))
        server = self.server("tcp")
        program, port = self.start_operation(
            "tcp", f"{LOCALHOST}:{server.port}", "--max", "1000", "--log", self.log,
            soft_file_limit=USUAL_FILE_LIMIT,
        )  # fmt: skip
        clients = []
        for number in range(MOST_SESSIONS):
            clients.append(self.client("tcp", port))
            # An echo comes back only when the thread that set the session up has become one of its relays, so that
            # the next client meets no thread on its way out.
            self.assertEqual(clients[-1].echo(b"%d" % number), b"%d" % number)
        self.assertTrue(self.client("tcp", port).is_closed())
        self.wait_for_log(r"\[Session rejected - too many threads\].*", *[r"\[Session accepted\].*"] * MOST_SESSIONS)
        for client in clients:
            client.socket.send(b"all at once")
        for client in clients:
            self.assertEqual(client.socket.recv(100), b"all at once")
        # A place that becomes free is given again.
        clients.pop().close()
        self.wait_for_log(r"\[Session ended\].*")
        wait_for(lambda: self.carries(port), "a free place")
        self.assert_ends_orderly(program)

    def carries(self, port):
        try:
            return self.client("tcp", port).echo(b"new") == b"new"
        except ConnectionError:
            return False


if __name__ == "__main__":
    unittest.main()
