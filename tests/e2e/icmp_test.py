"""ICMP errors about the datagrams of a session reach its client: real hosts, real errors, and crafted ones."""
import unittest

import network
from icmp_network import IcmpTest


class RealErrors(IcmpTest):
    """The client's kernel hands an error to the client's socket only if it quotes what that socket sent, from its own
    address and port to the one it is connected to."""

    def test_a_closed_port_refuses_the_client(self):
        server = self.echo_server()
        operation = self.operation(server.port)
        self.forward(operation)
        session = self.session(operation, server)
        came, told = self.capture(self.forwarder), self.capture(self.near)
        server.close()
        session.send()
        self.assertEqual(session.error(), "ECONNREFUSED")
        self.assert_told(told, came.next(), session)


if __name__ == "__main__":
    network.enter_or_skip()
    unittest.main()
