"""The forwarders that are measured, each set up as its administrator would, and how each is told what to forward."""
import pathlib
import re
import shutil
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]
MOST_SESSIONS = 748  # of one zelkor operation

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
events {{
    worker_connections 4096;
}}
stream {{
    server {{
        listen 127.0.0.1:{port}{udp};
        proxy_pass 127.0.0.1:{target};
        proxy_timeout 1h;
    }}
}}
"""

RINETD = """\
pidlogfile {folder}/rinetd.pid
127.0.0.1 {port}/{kind} 127.0.0.1 {target}/{kind}{options}
"""


class Peer:
    """One forwarder. command() writes what it needs into the folder and gives the words that start it."""

    name = ""
    program = ""
    kinds = ("tcp", "udp")
    version_option = "-v"

    def path(self):
        """None when it is not installed."""
        return shutil.which(self.program, path="/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin")

    def version(self):
        result = subprocess.run([self.path(), self.version_option], capture_output=True, text=True, check=False)
        numbers = re.search(r"\d+(\.\d+)+\S*", result.stdout + result.stderr)
        return f"{self.name} {numbers.group() if numbers else 'of unknown version'}"


class Zelkor(Peer):
    name = "zelkor"
    version_option = "--version"

    def __init__(self, build):
        self.file = pathlib.Path(build) / "zelkor"

    def path(self):
        return str(self.file) if self.file.exists() else None

    def command(self, _folder, kind, port, target):
        return [self.path(), "--max", MOST_SESSIONS, "--timeout", 3600_000, kind, f"127.0.0.1:{port}",
                f"127.0.0.1:{target}"]  # fmt: skip

    def version(self):
        commit = subprocess.run(["git", "-C", ROOT, "describe", "--always", "--dirty=, changed"], capture_output=True,
                                text=True, check=False).stdout.strip()  # fmt: skip
        return super().version() + (f" (commit {commit})" if commit else "")


class Haproxy(Peer):
    name = program = "haproxy"
    kinds = ("tcp",)

    def command(self, folder, _kind, port, target):
        file = folder / "haproxy.cfg"
        file.write_text(HAPROXY.format(port=port, target=target))
        return [self.path(), "-db", "-f", file]


class Nginx(Peer):
    name = program = "nginx"

    def command(self, folder, kind, port, target):
        file = folder / "nginx.conf"
        file.write_text(NGINX.format(port=port, target=target, udp=" udp reuseport" if kind == "udp" else ""))
        return [self.path(), "-p", folder, "-c", file, "-e", "stderr"]


class Rinetd(Peer):
    name = program = "rinetd"

    def command(self, folder, kind, port, target):
        file = folder / "rinetd.conf"
        options = "  [timeout=3600]" if kind == "udp" else ""
        file.write_text(RINETD.format(folder=folder, port=port, target=target, kind=kind, options=options))
        return [self.path(), "-f", "-c", file]


class Socat(Peer):
    name = program = "socat"
    version_option = "-V"

    def command(self, _folder, kind, port, target):
        listen = f"{kind.upper()}4-LISTEN:{port},bind=127.0.0.1,reuseaddr,fork"
        connect = f"{kind.upper()}4:127.0.0.1:{target}"
        if kind == "tcp":
            return [self.path(), "-b", 65536, listen + ",backlog=128,nodelay", connect + ",nodelay"]
        return [self.path(), "-b", 65536, "-T", 3600, listen, connect]


class Direct:
    """No forwarder: the clients go to the servers themselves."""

    name = "direct"
    kinds = ("tcp", "udp")


def every_peer(build):
    return [Direct(), Zelkor(build), Haproxy(), Nginx(), Rinetd(), Socat()]


NAMES = [kind.name for kind in (Direct, Zelkor, Haproxy, Nginx, Rinetd, Socat)]
