"""A network of one's own, and in it a small one for tests: hosts are network namespaces, joined by virtual cables.

    near  --- 10.77.1.0/24 --+
                             forwarder --- 10.77.3.0/24 --- router --- 10.77.4.0/24 --- far
    other --- 10.77.2.0/24 --+

A thread is in one host at a time, and what it opens or starts there stays there, so that the usual helpers work in
every host: `with network.host("far"): ...`. All ends with the process that entered.
"""
import contextlib
import ctypes
import os
import pathlib
import subprocess
import sys

from sample_servers import wait_for

# Each end of a cable: the address, the host, and the gateway that the host has there.
CABLES = (
    (("10.77.1.2", "near", "10.77.1.1"), ("10.77.1.1", "forwarder", None)),
    (("10.77.2.2", "other", "10.77.2.1"), ("10.77.2.1", "forwarder", None)),
    (("10.77.3.1", "forwarder", "10.77.3.2"), ("10.77.3.2", "router", None)),
    (("10.77.4.1", "router", None), ("10.77.4.2", "far", "10.77.4.1")),
)
HOSTS = ("near", "other", "forwarder", "router", "far")
HAS_NAMESPACES = "ZELKOR_HAS_NAMESPACES"
# The hosts' names are kept below /run.
IN_OWN_PLACE = ["sh", "-c", 'mount -t tmpfs tmpfs /run && exec "$@"', "sh"]
libc = ctypes.CDLL(None, use_errno=True)


def enter():
    """Runs the program anew in namespaces of its own for network and mounts. Gives whether it is there, which it is not
    where the system allows that neither as it is nor as root of a user namespace."""
    if HAS_NAMESPACES in os.environ:
        return True
    for rights in ([], ["--map-root-user"]):
        own = ["unshare", "--net", "--mount", *rights, *IN_OWN_PLACE]
        if subprocess.run([*own, "ip", "netns", "add", "probe"], capture_output=True).returncode == 0:
            os.environ[HAS_NAMESPACES] = "yes"
            os.execvp(own[0], [*own, *sys.orig_argv])
    return False


@contextlib.contextmanager
def host(name):
    """The thread is there inside."""
    with open("/proc/thread-self/ns/net") as home, open(f"/run/netns/{name}") as there:
        if libc.setns(there.fileno(), 0) != 0:
            raise OSError(ctypes.get_errno(), f"setns: {name}")
        try:
            yield
        finally:
            libc.setns(home.fileno(), 0)


def ip(where, *commands):
    """What the tool of that name prints for these commands."""
    batch = subprocess.run(["ip", *(["-n", where] if where else []), "-oneline", "-batch", "-"], check=True, text=True,
                           input="\n".join(commands), stdout=subprocess.PIPE)  # fmt: skip
    return batch.stdout


def set_in(where, name, value):
    """One of the system's settings for its network."""
    with host(where):
        (pathlib.Path("/proc/sys/net") / name).write_text(f"{value}\n")


def cable_of(address):
    """The interface's name."""
    return "to-" + address


def is_connected():
    """A cable that has just been plugged in loses packets until the kernel has given it its queue."""
    states = [line for name in HOSTS for line in ip(name, "link show").splitlines() if "to-" in line]
    return len(states) == 2 * len(CABLES) and all("LOWER_UP" in state and " noop " not in state for state in states)


def build():
    """A new network in the place of the old one. What its kernels tell and receive is not rationed, so that nothing
    depends on how fast a test runs."""
    ends = [end for cable in CABLES for end in cable]
    ip(None, *(f"netns del {old.name}" for old in pathlib.Path("/run/netns").glob("*")),
       *(f"netns add {name}" for name in HOSTS),
       *(f"link add {cable_of(one)} netns {here} type veth peer name {cable_of(two)} netns {there}"
         for (one, here, _), (two, there, _) in CABLES))  # fmt: skip
    for name in HOSTS:
        set_in(name, "ipv4/icmp_ratemask", 0)
        # These come from the machine, which may have changed them.
        set_in(name, "ipv4/ip_forward", int(name == "router"))
        for interfaces in ("all", "default"):
            set_in(name, f"ipv4/conf/{interfaces}/rp_filter", 0)
        mine = [(address, cable_of(address), gateway) for address, owner, gateway in ends if owner == name]
        ip(name, "link set lo up", *(f"address add {address}/24 dev {cable}" for address, cable, _ in mine),
           *(f"link set {cable} up" for _, cable, _ in mine),
           *(f"route add default via {gateway}" for *_, gateway in mine if gateway))  # fmt: skip
    wait_for(is_connected, "the cables")
