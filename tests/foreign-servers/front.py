"""Signs clients in to an IMAP server that runs as a child for each connection, signed in already.

usage: front.py PORT-FILE PROGRAM [ARGUMENT...]

Speaks plain text on a free port of 127.0.0.1, which it writes to PORT-FILE, takes any password, and then
connects the client with PROGRAM. Ends with its standard input.
"""

import contextlib
import os
import pathlib
import socket
import subprocess
import sys
import threading

LONGEST_LINE = 8192


def read_line(connection):
    line = b""
    while not line.endswith(b"\n") and len(line) < LONGEST_LINE:
        byte = connection.recv(1)
        if not byte:
            raise ConnectionError("the client is gone")
        line += byte
    return line.strip()


def sign_in(connection):
    """Answers until the client is signed in."""
    connection.sendall(b"* OK ready\r\n")
    while True:
        tag, _, command = read_line(connection).partition(b" ")
        if command.upper() == b"CAPABILITY":
            connection.sendall(b"* CAPABILITY IMAP4rev1 AUTH=PLAIN\r\n" + tag + b" OK done\r\n")
        elif command.upper() == b"AUTHENTICATE PLAIN":
            connection.sendall(b"+ \r\n")
            read_line(connection)
            connection.sendall(tag + b" OK welcome\r\n")
            return
        else:
            connection.sendall(tag + b" BAD not signed in\r\n")


def pass_on_answers(server, connection):
    """All but the greeting, which the client has had.

    What the server says to a client that is gone is read all the same: a server that died of writing would
    leave its locks behind.
    """
    answers = server.stdout.fileno()
    while b"PREAUTH" not in server.stdout.readline():
        if server.poll() is not None:
            break
    while chunk := os.read(answers, 65536):
        with contextlib.suppress(OSError):
            connection.sendall(chunk)
    with contextlib.suppress(OSError):
        connection.shutdown(socket.SHUT_RDWR)


def serve(connection, command):
    with connection:
        try:
            sign_in(connection)
        except OSError:
            return
        with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, bufsize=0) as server:
            answers = threading.Thread(target=pass_on_answers, args=(server, connection), daemon=True)
            answers.start()
            try:
                while chunk := connection.recv(65536):
                    server.stdin.write(chunk)
            except OSError:
                pass
            server.stdin.close()
            answers.join()


def main():
    listener = socket.create_server(("127.0.0.1", 0))
    pathlib.Path(sys.argv[1]).write_text(str(listener.getsockname()[1]), encoding="ascii")

    def accept():
        while True:
            connection, _ = listener.accept()
            threading.Thread(target=serve, args=(connection, sys.argv[2:]), daemon=True).start()

    threading.Thread(target=accept, daemon=True).start()
    sys.stdin.read()


if __name__ == "__main__":
    main()
