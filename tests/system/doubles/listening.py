"""What the faulty servers share: a thread per connection."""

import socket
import threading


def serve(address, handle):
    """Listens, and accepts connections for ever on a thread; handle(connection) need not close its connection."""
    listener = socket.create_server(address, backlog=128)

    def converse(connection, peer):
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        try:
            with connection:
                handle(connection)
        except OSError as error:
            print(address[1], "client left:", *peer, error, flush=True)

    def run():
        while True:
            threading.Thread(target=converse, args=listener.accept(), daemon=True).start()
    threading.Thread(target=run, daemon=True).start()
