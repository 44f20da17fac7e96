"""A small network for tests: hosts are network namespaces, joined by virtual cables.

A namespace has no name and no process: it is an open file of this process, and whatever ends the process ends its hosts
with their cables. A thread is in one host at a time, and what it opens or starts there stays there, so that sockets and
programs of the usual helpers work in every host: `with host.entered(): ...`.
"""
import contextlib
import ctypes
import os
import pathlib
import subprocess
import sys

from program import wait_for

SKIPPED = 77
AS_ROOT_OF_ITS_OWN = ["unshare", "--map-root-user", "--net"]
IS_ROOT_OF_ITS_OWN = "ZELKOR_TEST_HAS_USER_NAMESPACE"
SYSTEM_SETTINGS = pathlib.Path("/proc/sys/net")  # shows those of the host that the thread is in
CLONE_NEWNET = 0x40000000  # sched.h
libc = ctypes.CDLL(None, use_errno=True)


def system_call(function, *arguments):
    if function(*arguments) != 0:
        code = ctypes.get_errno()
        raise OSError(code, f"{function.__name__}: {os.strerror(code)}")


def open_current_namespace():
    return os.open("/proc/thread-self/ns/net", os.O_RDONLY | os.O_CLOEXEC)


@contextlib.contextmanager
def returning():
    """Whatever namespace the thread goes to inside, it comes back."""
    home = open_current_namespace()
    try:
        yield
    finally:
        if os.stat("/proc/thread-self/ns/net").st_ino != os.fstat(home).st_ino:
            system_call(libc.setns, home, CLONE_NEWNET)
        os.close(home)


class Host:
    """What its kernel tells and receives is not rationed, so that nothing depends on how fast a test runs."""

    def __init__(self):
        with returning():
            system_call(libc.unshare, CLONE_NEWNET)
            self.namespace = open_current_namespace()
        self.cables = []  # interface names
        self.set("ipv4/icmp_ratemask", 0)
        # These come from the machine, which may have changed them.
        self.set("ipv4/ip_forward", 0)
        for interfaces in ("all", "default"):
            self.set(f"ipv4/conf/{interfaces}/rp_filter", 0)
        self.ip("link set lo up")

    @contextlib.contextmanager
    def entered(self):
        with returning():
            system_call(libc.setns, self.namespace, CLONE_NEWNET)
            yield

    def set(self, name, value):
        with self.entered():
            (SYSTEM_SETTINGS / name).write_text(f"{value}\n")

    def ip(self, command):
        """What the tool of that name prints."""
        with self.entered():
            done = subprocess.run(["ip", *command.split()], capture_output=True, text=True)
        if done.returncode != 0:
            raise RuntimeError(f"ip {command}: {done.stderr.strip()}")
        return done.stdout

    def is_connected(self):
        """A cable that has just been plugged in loses packets until the kernel has given it its queue."""
        states = [self.ip(f"-oneline link show dev {cable}") for cable in self.cables]
        return all(" state UP " in state and " qdisc noop " not in state for state in states)

    def close(self):
        os.close(self.namespace)


class Network:
    """Hosts and cables; close() ends them all."""

    def __init__(self):
        self.hosts = []
        self.ends = 0

    def host(self):
        host = Host()
        self.hosts.append(host)
        return host

    def cable(self, one, one_address, other, other_address):
        """Joins two hosts; addresses with their prefix length."""
        names = [f"cable{self.ends}", f"cable{self.ends + 1}"]
        self.ends += 2
        there = f"/proc/{os.getpid()}/fd/{other.namespace}"
        one.ip(f"link add {names[0]} type veth peer name {names[1]} netns {there}")
        for host, address, name in zip((one, other), (one_address, other_address), names):
            host.ip(f"address add {address} dev {name}")
            host.ip(f"link set {name} up")
            host.cables.append(name)
        return names

    def wait_connected(self):
        wait_for(lambda: all(host.is_connected() for host in self.hosts), "the cables")

    def close(self):
        while self.hosts:
            self.hosts.pop().close()


def why_not_possible():
    """None when this process may make a network."""
    network = Network()
    try:
        network.cable(network.host(), "10.77.0.1/24", network.host(), "10.77.0.2/24")
    except (OSError, RuntimeError) as error:
        return error
    finally:
        network.close()
    return None


def enter_or_skip():
    """Runs the test program anew as root of a user namespace of its own if that is needed to make a network; ends it
    with the code of a skipped test where even that is not allowed."""
    reason = why_not_possible()
    if reason is None:
        return
    allowed = subprocess.run([*AS_ROOT_OF_ITS_OWN, "true"], capture_output=True).returncode == 0
    if allowed and IS_ROOT_OF_ITS_OWN not in os.environ:
        os.environ[IS_ROOT_OF_ITS_OWN] = "yes"
        os.execvp(AS_ROOT_OF_ITS_OWN[0], [*AS_ROOT_OF_ITS_OWN, *sys.orig_argv])
    print(f"skipped: network namespaces are not allowed here ({reason})")
    sys.exit(SKIPPED)
