#!/usr/bin/python3
"""The arithmetic of src/asn_cursor.h and include/pkider/asn_tag.h, as formulas over 32-bit words.

Z3 proves what is claimed below of all words. What the code itself did, one call a line of standard
input, must be what the same formulas give. Prints one line for each claim.
"""

import sys

import z3

BITS = 32
TOP = (1 << BITS) - 1


# Operations on words, which are numbers of Python or of Z3. Sums wrap.
def add(a, b):
    return (a + b) & TOP if isinstance(a + b, int) else a + b


def le(a, b):
    return a <= b if isinstance(a, int) and isinstance(b, int) else z3.ULE(a, b)


def lt(a, b):
    return both(le(a, b), a != b)


def both(*conditions):
    return z3.And(*conditions) if any(map(z3.is_expr, conditions)) else all(conditions)


def ite(condition, a, b):
    return z3.If(condition, a, b) if z3.is_expr(condition) else a if condition else b


# ---- The formulas ----

def header_read(n, first):
    """Size of the header whose second byte is `first`; 0 where it is refused."""
    count = first & 0x7F
    bad = z3.Or if z3.is_expr(count) else lambda *c: any(c)
    long_form = ite(bad(count == 0, lt(4, count), lt(n, add(count, 2))), 0 * n, add(count, 2))
    return ite(lt(n, 2), 0 * n, ite(lt(first, 0x80), 0 * n + 2, long_form))


def fits_cursor(n, header, length):
    """asn1_read_tag_i_ takes the element."""
    return both(header != 0, le(length, add(n, -header)))


def fits_exported(n, header, length):
    """asn1_read_tag takes it: the sum may wrap."""
    return both(header != 0, le(add(length, header), n))


def header_size(length):
    return ite(lt(length, 0x80), 0 * length + 2, ite(lt(length, 1 << 8), 0 * length + 3, ite(
        lt(length, 1 << 16), 0 * length + 4, ite(lt(length, 1 << 24), 0 * length + 5,
                                                 0 * length + 6))))


def reserve(length, capacity, extra):
    """The capacity afterwards; 0 stands for std::bad_alloc. `wide` numbers do not wrap."""
    wanted = wide(length) + wide(extra) + 6
    grown = wanted + 16
    return ite(le(wanted, wide(capacity)), capacity, ite(le(grown, wide(0 * capacity + TOP)),
                                                         narrow(grown), 0 * capacity))


def append_element(length, capacity, count):
    """The capacity afterwards, or 0."""
    header = header_size(count)
    return ite(lt(TOP - header, count), 0 * capacity, reserve(length, capacity, add(header, count)))


def wide(word):
    return z3.ZeroExt(BITS, word) if z3.is_expr(word) else word


def narrow(word):
    return z3.Extract(BITS - 1, 0, word) if z3.is_expr(word) else word


# ---- What is claimed of all words ----

def claim(text, premise, conclusion):
    solver = z3.Solver()
    solver.add(premise, z3.Not(conclusion))
    if solver.check() != z3.unsat:
        sys.exit(f"does not hold: {text}\n{solver.model()}")
    print("proved:", text)


def prove():
    n, first, length, capacity, count, extra = z3.BitVecs("n first length capacity count extra",
                                                          BITS)
    header = header_read(n, first)
    octet = le(first, 0xFF)
    inside = le(wide(header) + wide(length), wide(n))
    claim("a header that is read has 2 to 6 bytes, all inside the cursor",
          both(octet, header != 0), both(le(2, header), le(header, 6), le(header, n)))
    claim("an element that the cursor takes ends inside it",
          both(octet, fits_cursor(n, header, length)), inside)
    claim("an element that ends inside the cursor is taken",
          both(octet, header != 0, inside), fits_cursor(n, header, length))
    claim("what the cursor takes, asn1_read_tag takes too",
          both(octet, fits_cursor(n, header, length)), fits_exported(n, header, length))
    claim("what asn1_read_tag takes, and is no longer than what remains, ends inside",
          both(octet, fits_exported(n, header, length), le(length, n - header)), inside)
    claim("asn1_read_tag takes what does not fit only where the sum wraps",
          both(octet, fits_exported(n, header, length), z3.Not(inside)),
          z3.UGT(length, TOP - header))

    whole = le(wide(length) + 6, wide(capacity))  # the builder's invariant
    after = reserve(length, capacity, extra)
    claim("reserve leaves room, and never shrinks",
          both(whole, after != 0),
          both(le(wide(length) + wide(extra) + 6, wide(after)), le(capacity, after)))
    claim("an append ends inside the buffer, and its length does not wrap",
          both(whole, after != 0),
          le(wide(length) + wide(extra) + 6, wide(0 * after + TOP)))
    after = append_element(length, capacity, count)
    taken = wide(header_size(count)) + wide(count)
    claim("an element is appended inside the buffer, header and content",
          both(whole, after != 0), le(wide(length) + taken + 6, wide(after)))
    claim("the size of a builder's encoding does not wrap, and its header has room",
          whole, both(le(wide(header_size(length)) + wide(length), wide(0 * length + TOP)),
                      le(header_size(length), 6)))
    claim("a builder's own header is as short as can be",
          lt(0x7F, length),
          z3.And(z3.LShR(wide(length), (wide(header_size(length)) - 2) * 8) == 0,
                 z3.LShR(wide(length), (wide(header_size(length)) - 3) * 8) != 0))


# ---- What the code did ----

def compare():
    model = {
        "read": lambda n, first, length: [
            header_read(n, first), int(fits_cursor(n, header_read(n, first), length)),
            int(fits_exported(n, header_read(n, first), length))],
        "size": lambda length: [header_size(length) + length],
        "reserve": lambda *words: [reserve(*words)],
        "append": lambda *words: [append_element(*words)],
    }
    calls = dict.fromkeys(model, 0)
    for line in sys.stdin:
        given, did = line.split(":")
        name, *words = given.split()
        expected = model[name](*map(int, words))
        if list(map(int, did.split())) != expected:
            sys.exit(f"the code did {line.strip()}, the formula gives {expected}")
        calls[name] += 1
    if not all(calls.values()):
        sys.exit(f"not compared: {calls}")
    print("compared with the code:", ", ".join(f"{n} {name}" for name, n in calls.items()))


prove()
compare()
