"""Much traffic: bulk data, and as many sessions as the program takes."""
import concurrent.futures
import random
import resource
import unittest

from e2e import LinuxTest
from sample_servers import LOCALHOST, wait_for

MOST_SESSIONS = 748  # (1497 - one operation) / 2
NEEDED_FILES = 4096
USUAL_FILE_LIMIT = ("prlimit", "--nofile=1024:")


class Traffic(LinuxTest):
    def test_bulk_data_comes_back_unchanged_on_many_sessions(self):
        _, port = self.start_operation("tcp", f"{LOCALHOST}:{self.servers['tcp'].port}")
        with concurrent.futures.ThreadPoolExecutor(16) as pool:
            clients = [self.client("tcp", port) for _ in range(8)]
            data = [random.Random(seed).randbytes(1 << 20) for seed in range(len(clients))]
            for client, bulk in zip(clients, data):
                pool.submit(client.socket.sendall, bulk)
            backs = list(pool.map(lambda client: client.receive(1 << 20), clients))
        self.assertTrue(backs == data)

    def test_as_many_sessions_as_the_program_takes_under_the_usual_file_limit(self):
        soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        if hard != resource.RLIM_INFINITY and hard < NEEDED_FILES:
            self.skipTest(f"this system allows a process only {hard} open files")
        # The clients and the servers of all sessions are files of this process.
        resource.setrlimit(resource.RLIMIT_NOFILE, (max(soft, NEEDED_FILES), hard))
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, (soft, hard))
        target, options = f"{LOCALHOST}:{self.servers['tcp'].port}", ("--max", "1000", "--log", self.log)
        program, port = self.start_operation("tcp", target, *options, through=USUAL_FILE_LIMIT)
        clients = []
        for _ in range(MOST_SESSIONS):
            clients.append(self.client("tcp", port))
            # An echo comes back only when the thread that set the session up has become one of its relays, so that
            # the next client meets no thread on its way out.
            self.assertEqual(clients[-1].echo(b"first"), b"first")
        self.assertTrue(self.client("tcp", port).is_closed())
        events = [r"\[Session accepted\].*"] * MOST_SESSIONS + [r"\[Session rejected - too many threads\].*"]
        self.wait_for_log(*events)
        for client in clients:
            client.socket.send(b"all at once")
        self.assertTrue(all(client.receive(11) == b"all at once" for client in clients))
        # A place that becomes free is given again.
        clients.pop().close()
        self.wait_for_log(*events, r"\[Session ended\].*")
        wait_for(lambda: self.carries(port), "a free place")
        self.assert_ends(program)

    def carries(self, port):
        try:
            return self.client("tcp", port).echo(b"new") == b"new"
        except ConnectionError:
            return False


if __name__ == "__main__":
    unittest.main()
