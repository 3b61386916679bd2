"""Loopback addresses and free ports."""

import random
import socket

# Dovecot takes a client whose address equals the server's own for safe, whatever the settings. On the first two hosts the
# user database is what refuses a login without TLS; on the third one clients count as strangers, and get LOGINDISABLED.
HOSTS = ("127.0.0.1", "::1", "127.0.0.2")
STRANGER_HOST = "127.0.0.2"

# Below the range from which the kernel takes the ports of outgoing connections, so that none of those is in the way.
_PORT_RANGE = (20000, 32000)
_PORT_ATTEMPTS = 200


class NoFreePort(Exception):
    """Every port that was tried is taken."""


def _family(host):
    return socket.AF_INET6 if ":" in host else socket.AF_INET


def _can_bind(host, port):
    try:
        with socket.socket(_family(host), socket.SOCK_STREAM) as probe:
            probe.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            probe.bind((host, port))
    except OSError:
        return False
    return True


def usable_hosts():
    """Some machines and containers have no IPv6, and some systems only one address of loopback."""
    return [host for host in HOSTS if _can_bind(host, 0)]


def choose(wanted, former, hosts):
    if wanted:
        return wanted
    if former and all(_can_bind(host, int(former)) for host in hosts):
        return int(former)
    generator = random.SystemRandom()
    for _ in range(_PORT_ATTEMPTS):
        port = generator.randrange(*_PORT_RANGE)
        if all(_can_bind(host, port) for host in hosts):
            return port
    raise NoFreePort("no free ports were found")
