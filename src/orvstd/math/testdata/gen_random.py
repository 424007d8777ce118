#!/usr/bin/python3
"""Reference draws of the uniform generator, written from its description
with Python's unbounded integers (no 32-bit wrap to hide), for
random_test.cc. Run: /usr/bin/python3 gen_random.py > random_reference.txt

Each line: seed, draw index (1-based), value of next(0, 1) as exact hex."""

M1, I1, D1 = 7141, 54773, 259200
M2, I2, D2 = 8121, 28411, 134456
M3, I3, D3 = 4561, 51349, 243000
S2 = 7.437377283274826e-6
S1 = 3.858024691358025e-6


class Uniform:
    def __init__(self, seed):
        self.s1 = abs(I1 - seed) % D1
        self.s1 = (self.s1 * M1 + I1) % D1
        self.s2 = self.s1 % D2
        self.s1 = (self.s1 * M1 + I1) % D1
        self.s3 = self.s1 % D3
        self.table = []
        for _ in range(97):
            self.s1 = (self.s1 * M1 + I1) % D1
            self.s2 = (self.s2 * M2 + I2) % D2
            self.table.append((self.s1 + self.s2 * S2) * S1)

    def next(self):
        self.s1 = (self.s1 * M1 + I1) % D1
        self.s2 = (self.s2 * M2 + I2) % D2
        self.s3 = (self.s3 * M3 + I3) % D3
        j = self.s3 * 97 // D3
        value = self.table[j]
        self.table[j] = (self.s1 + self.s2 * S2) * S1
        return value


WANTED = set(range(1, 11)) | {97, 98, 1000, 1001, 100000}
for seed in (0, 1, 42, 54773, -123456, 2147483647):
    u = Uniform(seed)
    for i in range(1, max(WANTED) + 1):
        v = u.next()
        if i in WANTED:
            print(seed, i, v.hex())
