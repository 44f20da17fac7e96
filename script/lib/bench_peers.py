"""The forwarders that are measured, each set up as its administrator would, and how each is told what to forward."""
import dataclasses
import pathlib
import re
import shutil
import subprocess

BUILD = pathlib.Path(__file__).resolve().parents[2] / "build/linux"

HAPROXY = """\
global
    nbthread 2
    maxconn 4000
defaults
    mode tcp
    timeout connect 5s
    timeout client 1h
    timeout server 1h
listen forwarded
    bind 127.0.0.1:{port}
    server target 127.0.0.1:{target}
"""

NGINX = """\
load_module /usr/lib/nginx/modules/ngx_stream_module.so;
daemon off;
pid nginx.pid;
error_log stderr error;
worker_processes auto;
worker_rlimit_nofile 8192;
events {{ worker_connections 4096; }}
stream {{
    proxy_timeout 1h;
    server {{ listen 127.0.0.1:{port}{if_udp}; proxy_pass 127.0.0.1:{target}; }}
}}
"""

RINETD = """\
pidlogfile {folder}/rinetd.pid
127.0.0.1 {port}/{protocol} 127.0.0.1 {target}/{protocol}{if_udp}
"""

BOTH = ("tcp", "udp")
# 748 sessions are the most of one operation.
ZELKOR = "--max 748 --timeout 3600000 {protocol} 127.0.0.1:{port} 127.0.0.1:{target}"
SOCAT_TCP = "-b 65536 TCP4-LISTEN:{port},bind=127.0.0.1,reuseaddr,fork,backlog=128,nodelay " \
            "TCP4:127.0.0.1:{target},nodelay"  # fmt: skip
SOCAT_UDP = "-b 65536 -T 3600 UDP4-LISTEN:{port},bind=127.0.0.1,reuseaddr,fork UDP4:127.0.0.1:{target}"


@dataclasses.dataclass(frozen=True)
class Peer:
    """One forwarder: the arguments that start it, for each protocol that it can, and its configuration file."""

    name: str
    arguments: dict
    config: str = ""
    if_udp: str = ""
    version_option: str = "-v"

    def path(self):
        """None when it is not installed."""
        return shutil.which(self.name, path=f"{BUILD}:/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin")

    def command(self, folder, protocol, port, target):
        values = {"folder": folder, "protocol": protocol, "port": port, "target": target, "config": folder / "config",
                  "if_udp": self.if_udp if protocol == "udp" else ""}  # fmt: skip
        values["config"].write_text(self.config.format(**values))
        return [self.path(), *(word.format(**values) for word in self.arguments[protocol].split())]

    def version(self):
        said = subprocess.run([self.path(), self.version_option], capture_output=True, text=True, check=False)
        number = re.search(r"\d+(\.\d+)+\S*", said.stdout + said.stderr)
        return f"{self.name} {number.group() if number else 'of unknown version'}"


# The first is no forwarder: the clients go to the servers themselves.
PEERS = [
    Peer("direct", dict.fromkeys(BOTH, "")),
    Peer("zelkor", dict.fromkeys(BOTH, ZELKOR), version_option="--version"),
    Peer("haproxy", {"tcp": "-db -f {config}"}, HAPROXY),
    Peer("nginx", dict.fromkeys(BOTH, "-p {folder} -c {config} -e stderr"), NGINX, " udp reuseport"),
    Peer("rinetd", dict.fromkeys(BOTH, "-f -c {config}"), RINETD, "  [timeout=3600]"),
    Peer("socat", {"tcp": SOCAT_TCP, "udp": SOCAT_UDP}, version_option="-V"),
]
