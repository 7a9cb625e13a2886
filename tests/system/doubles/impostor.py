"""A program in the configuration service's place: python3 impostor.py SOCKET. Prints what each client sends first."""

import os
import socket
import sys


def main(path):
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(path)
        os.chmod(path, 0o777)
        listener.listen()
        while True:
            with listener.accept()[0] as client:
                print(client.recv(4096), flush=True)


if __name__ == "__main__":
    main(*sys.argv[1:])
