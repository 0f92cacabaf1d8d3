"""Elliptic curves as plain models: affine points in Python's integers, None at infinity."""


class Curve:
    def double_and_add(self, k, point):
        result = None
        for bit in bin(k)[2:]:
            result = self.add(result, result)
            if bit == "1":
                result = self.add(result, point)
        return result

    def multiply(self, k, point):
        return self.double_and_add(k, point) if k >= 0 else self.multiply(-k, self.negative(point))


class PrimeCurve(Curve):
    """y^2 = x^3 + a x + b modulo p."""

    def __init__(self, p, a, b):
        self.p, self.a, self.b = p, a, b

    def contains(self, x, y):
        return (y * y - x**3 - self.a * x - self.b) % self.p == 0

    def negative(self, point):
        return point and (point[0], -point[1] % self.p)

    def add(self, one, other):
        if one is None or other is None:
            return one or other
        (x1, y1), (x2, y2) = one, other
        if x1 != x2:
            slope = (y2 - y1) * pow(x2 - x1, -1, self.p)
        elif (y1 + y2) % self.p == 0:
            return None
        else:
            slope = (3 * x1 * x1 + self.a) * pow(2 * y1, -1, self.p)
        x = (slope * slope - x1 - x2) % self.p
        return x, (slope * (x1 - x) - y1) % self.p


class BinaryCurve(Curve):
    """y^2 + x y = x^3 + a x^2 + b over GF(2^m), m odd: bit i of a number belongs to t^i."""

    def __init__(self, exponents, a, b):
        self.m = exponents[0]
        self.modulus = 1 | sum(1 << e for e in exponents if e)
        self.a, self.b = a, b

    def reduced(self, x):
        while x.bit_length() > self.m:
            x ^= self.modulus << (x.bit_length() - 1 - self.m)
        return x

    def times(self, x, y):
        product = 0
        while y:
            if y & 1:
                product ^= x
            x <<= 1
            y >>= 1
        return self.reduced(product)

    def square(self, x):
        return self.reduced(int(bin(x)[2:], 4))

    def inverse(self, x):
        u, v, g, h = x, self.modulus, 1, 0
        while u != 1:
            shift = u.bit_length() - v.bit_length()
            if shift < 0:
                u, v, g, h, shift = v, u, h, g, -shift
            u ^= v << shift
            g ^= h << shift
        return self.reduced(g)

    def root(self, x):
        for _ in range(self.m - 1):
            x = self.square(x)
        return x

    def trace(self, x):
        total = power = x
        for _ in range(self.m - 1):
            power = self.square(power)
            total ^= power
        return total

    def half_trace(self, x):
        total = power = x
        for _ in range((self.m - 1) // 2):
            power = self.square(self.square(power))
            total ^= power
        return total

    def contains(self, x, y):
        left = self.square(y) ^ self.times(x, y)
        square = self.square(x)
        return left == self.times(square, x) ^ (square if self.a else 0) ^ self.b

    def negative(self, point):
        return point and (point[0], point[0] ^ point[1])

    def add(self, one, other):
        if one is None or other is None:
            return one or other
        (x1, y1), (x2, y2) = one, other
        if x1 != x2:
            slope = self.times(y1 ^ y2, self.inverse(x1 ^ x2))
            x = self.square(slope) ^ slope ^ x1 ^ x2 ^ self.a
        elif y1 != y2 or x1 == 0:
            return None
        else:
            slope = x1 ^ self.times(y1, self.inverse(x1))
            x = self.square(slope) ^ slope ^ self.a
        return x, self.times(slope, x1 ^ x) ^ x ^ y1

    def compress(self, point):
        """DSTU 4145-2002, clause 6.9."""
        x, y = point
        return x and x & ~1 | self.trace(self.times(y, self.inverse(x)))

    def expand(self, c):
        """DSTU 4145-2002, clause 6.10, of what is not zero; None if there is no such point."""
        x = c & ~1
        if self.trace(x) != self.a:
            x |= 1
        right = x ^ self.a ^ self.times(self.b, self.inverse(self.square(x)))
        if self.trace(right) != 0:
            return None
        z = self.half_trace(right)
        if self.trace(z) != c & 1:
            z ^= 1
        return x, self.times(x, z)
