"""Answers every plain HTTP request after a delay: python3 slowprovider.py ADDRESS PORT MILLISECONDS"""

import asyncio
import sys

ANSWER = b"HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 5\r\n\r\ngood\n"


async def main(address, port, delay):
    async def talk(reader, writer):
        try:
            await reader.readuntil(b"\r\n\r\n")
            await asyncio.sleep(delay)
            writer.write(ANSWER)
            await writer.drain()
        except (asyncio.IncompleteReadError, ConnectionError):
            pass  # gone
        writer.close()
    server = await asyncio.start_server(talk, address, port, backlog=4096)
    async with server:
        await server.serve_forever()


if __name__ == "__main__":
    asyncio.run(main(sys.argv[1], int(sys.argv[2]), int(sys.argv[3]) / 1000))
