"""ICMP errors about the datagrams of a session reach its client: real hosts, real errors, and crafted ones."""
import unittest

import network
from icmp_network import FAR, NEAR, OTHER, ROUTER, TOWARD_NEAR, TOWARD_OTHER, IcmpTest, with_outer_options, with_rights
from program import LOCALHOST, EchoServer, free_port, wait_for
from settings_writer import TCP, Operation, Settings

# Whoever runs it, and root too.
WITHOUT_RAW_SOCKETS = ("--bounding-set", "-net_raw", "--inh-caps", "-net_raw")
ONLY_RAW_SOCKETS = ("--bounding-set", "-all,+net_raw", "--inh-caps", "-all")


class RealErrors(IcmpTest):
    """The client's kernel hands an error to the client's socket only if it quotes what that socket sent, from its own
    address and port to the one it is connected to."""

    def setUp(self):
        super().setUp()
        self.server = self.echo_server()

    def assert_error(self, name, icmp, size=13):
        """One datagram is answered with this error, of these type and code, and nothing but the quote changes on the
        way."""
        self.mine.send(size)
        self.assertEqual(self.mine.error(), name)
        packet = self.came.next()
        self.assertEqual(tuple(packet[20:22]), icmp)
        self.assert_told(self.told, packet, self.mine)

    def test_a_closed_port(self):
        self.begin(self.server)
        self.server.close()
        for _ in range(3):  # the session lives on, and each of its datagrams meets the same
            self.assert_error("ECONNREFUSED", (3, 3))
        self.assert_ends_orderly(self.program)

    def test_a_closed_port_of_a_host_with_a_name(self):
        self.server = self.echo_server(self.forwarder, ip=LOCALHOST)
        self.begin(self.server, remote_host=" localhost ")
        self.server.close()
        self.assert_error("ECONNREFUSED", (3, 3))

    def test_a_router_that_forbids(self):
        self.begin(self.server)
        self.router.ip(f"route add prohibit {FAR}")
        self.assert_error("EHOSTUNREACH", (3, 13))

    def test_a_host_that_does_not_answer_any_more(self):
        self.begin(self.server)
        self.mine.hear_passing_errors()
        self.router.set(f"ipv4/neigh/{self.router_cable}/retrans_time_ms", 20)
        self.far.ip(f"address del {FAR}/24 dev {self.far.cables[0]}")
        self.router.ip(f"neighbour flush dev {self.router_cable}")
        self.assert_error("EHOSTUNREACH", (3, 1))

    def test_a_net_that_the_router_has_lost(self):
        self.begin(self.server)
        self.mine.hear_passing_errors()
        self.router.ip(f"address flush dev {self.router_cable}")
        self.assert_error("ENETUNREACH", (3, 0))

    def test_a_way_that_is_too_long(self):
        self.begin(self.server)
        self.mine.hear_passing_errors()
        self.forwarder.ip(f"route add {FAR} via {ROUTER} hoplimit 1")
        self.assert_error("EHOSTUNREACH", (11, 0))

    def test_a_way_that_is_too_narrow_tells_the_client_how_wide_it_is(self):
        self.begin(self.server)
        self.router.ip(f"link set {self.router_cable} mtu 1280")
        self.assert_error("EMSGSIZE", (3, 4), size=1400)
        self.assertEqual(self.mine.path_mtu(), 1280)


class Clients(IcmpTest):
    def test_each_client_gets_its_own_error_once(self):
        first, second = self.echo_server(), self.echo_server()
        twins = [self.operation(first), self.operation(first)]
        silent, last = self.operation(first, forward_icmp=False), self.operation(second)
        self.forward(*twins, silent, last)
        sessions = [self.session(operation, first) for operation in (*twins, twins[0])]
        unheard, other = self.session(silent, first), self.session(last, second)
        came, told = self.capture(self.forwarder), self.capture(self.near)
        first.close()
        unheard.send()
        came.next()
        other.send()
        self.assertEqual(other.client.socket.recv(100), bytes(13), "no concern of this one's")
        second.close()
        # A second message for one error would stand ahead of the next one, at the latest in the second round.
        for session in (*sessions, other) * 2:
            session.send()
            self.assert_told(told, came.next(), session)
            self.assertEqual(session.error(), "ECONNREFUSED")

    def test_a_client_is_quoted_the_address_of_its_own_side(self):
        server = self.echo_server()
        everywhere, near_only = self.operation(server), self.operation(server, local_ip=TOWARD_NEAR)
        self.forward(everywhere, near_only)
        near = self.session(everywhere, server)
        other = self.session(everywhere, server, self.other, TOWARD_OTHER)
        across = self.session(near_only, server, self.other, TOWARD_NEAR)
        came, told, told_other = (self.capture(host) for host in (self.forwarder, self.near, self.other))
        server.close()
        for session, capture in ((near, told), (other, told_other)):
            session.send()
            self.assert_told(capture, came.next(), session)
            self.assertEqual(session.error(), "ECONNREFUSED")
        across.send()
        self.assert_told(told_other, came.next(), across, (TOWARD_OTHER, near_only.local_port))

    def test_a_bounced_client_is_told_of_its_own_closed_port(self):
        self.assert_bounced_clients_are_told(bounce=True, remote_host=FAR)

    def test_so_is_a_client_where_no_remote_host_is_given(self):
        self.assert_bounced_clients_are_told(remote_host=" \t")

    def assert_bounced_clients_are_told(self, **fields):
        near_server = self.echo_server(self.near, NEAR)
        other_server = self.echo_server(self.other, OTHER, near_server.port)
        operation = self.operation(near_server, **fields)
        self.forward(operation)
        near = self.session(operation, near_server)
        other = self.session(operation, other_server, self.other, TOWARD_OTHER)
        came, told, told_other = (self.capture(host) for host in (self.forwarder, self.near, self.other))
        near_server.close()
        other_server.close()
        # About the other one's datagrams, or one to another port: nobody's.
        self.send_icmp(near.about(target=other.target))
        self.send_icmp(other.about(target=near.target))
        self.send_icmp(near.about(target=(NEAR, near_server.port ^ 1)))
        for _ in range(3):
            came.next()
        for session, capture in ((near, told), (other, told_other)):
            session.send()
            self.assert_told(capture, came.next(), session)
            self.assertEqual(session.error(), "ECONNREFUSED")


    def test_errors_do_not_lengthen_a_sessions_life(self):
        self.begin(self.echo_server(), udp_timeout_ms=1000)

        def is_over():
            self.send_icmp(self.mine.about())
            return b"[Session ended]" in self.log_bytes()

        wait_for(is_over, "the end of a session that gets nothing but errors")


class CraftedErrors(IcmpTest):
    def setUp(self):
        super().setUp()
        self.server = self.echo_server()
        self.begin(self.server)

    def assert_forwarded(self, data, **how):
        self.send_icmp(data, **how)
        self.assert_told(self.told, self.came.next(), self.mine)

    def assert_ignored(self, data, **how):
        """What follows it is the next that the client gets."""
        self.send_icmp(data, **how)
        self.came.next()
        self.assert_forwarded(self.mine.about(rest=b"next"))

    def test_types_and_lengths_that_are_taken(self):
        cases = {
            "source quench": self.mine.about(type=4, code=0),
            "time exceeded while gathering fragments": self.mine.about(type=11, code=1),
            "a code that nobody knows": self.mine.about(code=200),
            "the least there is": self.mine.about().to_bytes()[:36],
            "more than the least": self.mine.about().to_bytes() + bytes(500),
        }
        self.assertEqual(len(cases["the least there is"]) + 20, 56)
        for name, data in cases.items():
            with self.subTest(name):
                self.assert_forwarded(data)
        self.assert_forwarded(self.mine.about(), host=self.router)

    def test_types_and_lengths_that_are_ignored(self):
        cases = {f"type {number}": self.mine.about(type=number) for number in (0, 5, 8, 12)}
        cases["a byte too short"] = self.mine.about().to_bytes()[:35]
        cases["nothing quoted"] = self.mine.about().to_bytes()[:8]
        cases["about another version of the protocol"] = self.mine.about(first_byte=0x65)
        for name, data in cases.items():
            with self.subTest(name):
                self.assert_ignored(data)

    def test_errors_about_datagrams_of_others_are_ignored(self):
        ip, port = self.mine.forwarder_end
        cases = {
            "from another port": self.mine.about(source=(ip, port ^ 1)),
            "to another port": self.mine.about(target=(FAR, self.server.port ^ 1)),
            "to another host": self.mine.about(target=(ROUTER, self.server.port)),
            "the ports the wrong way round": self.mine.about(source=(ip, self.server.port), target=(FAR, port)),
            "of another TCP connection": self.mine.about(source=(ip, port ^ 1), protocol=TCP),
            "as the client sent it": self.mine.about(source=self.mine.client_end, target=self.mine.listener),
        }
        for name, data in cases.items():
            with self.subTest(name):
                self.assert_ignored(data)

    def test_fields_that_are_not_looked_at(self):
        self.assert_forwarded(self.mine.about(source=("192.0.2.1", self.mine.forwarder_end[1])))
        self.assert_forwarded(self.mine.about(protocol=TCP))
        wrong_sum = bytearray(self.mine.about().to_bytes())
        wrong_sum[2] ^= 0xFF
        self.assert_forwarded(bytes(wrong_sum))

    def test_headers_with_options_are_read_at_the_same_places(self):
        no_operation = bytes((1, 1, 1, 1))
        self.assert_ignored(self.mine.about(first_byte=0x46, options=no_operation))
        self.assert_forwarded(self.mine.about(first_byte=0x46))
        self.assert_ignored(with_outer_options(no_operation, self.mine.about().to_bytes()), whole=True)
        # The type and the code of the error in the place of an option, of a kind that nobody knows and four bytes long.
        error = self.mine.about(type=3, code=4).to_bytes()
        self.assert_forwarded(with_outer_options(error[:4], error[4:]), whole=True)


class Rights(IcmpTest):
    """The program runs with and without what raw sockets need."""

    def setUp(self):
        super().setUp()
        self.server = self.echo_server()
        self.rule = self.operation(self.server)
        with self.forwarder.entered():
            self.rule.local_port = free_port("udp")

    def expected_line(self, reason):
        return f"zelkor: not started: UDP 0.0.0.0:{self.rule.local_port} -> {FAR}:{self.server.port}: {reason}"

    def refusal_of(self, *operations, **how):
        data = Settings(list(operations)).to_bytes()
        self.file.write_bytes(data)
        with self.forwarder.entered():
            refusal = self.refusal(self.file, **how)
        self.assertEqual(self.file.read_bytes(), data)
        return refusal

    def test_one_right_is_enough(self):
        operation = self.operation(self.server)
        self.forward(operation, rights=ONLY_RAW_SOCKETS)
        session = self.session(operation, self.server)
        self.server.close()
        session.send()
        self.assertEqual(session.error(), "ECONNREFUSED")

    def test_a_run_of_nothing_else_ends_with_3_and_the_reason(self):
        line = self.expected_line("Operation not permitted (to forward ICMP errors needs CAP_NET_RAW)")
        self.assertEqual(self.refusal_of(self.rule, through=with_rights(*WITHOUT_RAW_SOCKETS)), (3, [line]))

    def test_another_reason_is_not_taken_for_it(self):
        with self.forwarder.entered():
            taken = EchoServer("udp", "0.0.0.0", self.rule.local_port)
        self.addCleanup(taken.close)
        self.assertEqual(self.refusal_of(self.rule), (3, [self.expected_line("Address already in use")]))

    def test_the_other_operations_run(self):
        plain = self.operation(self.server, forward_icmp=False)
        stream = Operation(TCP, 0, FAR, self.server.port, local_ip="0.0.0.0", forward_icmp=True)
        program = self.forward(self.rule, plain, stream, rights=WITHOUT_RAW_SOCKETS)
        self.session(plain, self.server)
        self.assertEqual([line.split(" -> ")[0] for line in program.out],
                         [f"started {kind} 0.0.0.0:{operation.local_port}"
                          for kind, operation in (("UDP", plain), ("TCP", stream))])  # fmt: skip
        self.assert_ends_orderly(program)
        self.assertEqual(program.err, [self.expected_line(
            "Operation not permitted (to forward ICMP errors needs CAP_NET_RAW)")])  # fmt: skip


if __name__ == "__main__":
    network.enter_or_skip()
    unittest.main()
