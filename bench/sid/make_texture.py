#!/usr/bin/env python3
"""Writes a textured RGB tile (ENVI, band-interleaved by pixel) for the reader benchmark:
gradients plus noise, so that LZW compresses it about as well as aerial imagery."""
import random
import sys

path, size = sys.argv[1], int(sys.argv[2])
rng = random.Random(5)
with open(path, "wb") as out:
    for y in range(size):
        noise = rng.randbytes(size * 3)
        row = bytearray(size * 3)
        for x in range(size):
            base = (x // 6 + y // 9) & 0xFF
            for b in range(3):
                row[x * 3 + b] = (base + b * 40 + (noise[x * 3 + b] & 0x1F)) & 0xFF
        out.write(row)
with open(path.rsplit(".", 1)[0] + ".hdr", "w") as header:
    header.write(f"ENVI\nsamples = {size}\nlines = {size}\nbands = 3\nheader offset = 0\n"
                 "file type = ENVI Standard\ndata type = 1\ninterleave = bip\nbyte order = 0\n")
