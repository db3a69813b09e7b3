#!/usr/bin/python3
# What every pair of T.61 bytes stands for, with a zero byte after the pair: one line a pair, from
# 00 00 to FF FF, its UTF-8 in hex or '-' where a byte is not T.61. The precomposed letters are not
# listed here: they come from Python's own Unicode data.

from unicodedata import normalize

SYMBOLS = {0xA4: 0x24, 0xA6: 0x23, 0xA8: 0xA4, 0xB4: 0xD7, 0xB8: 0xF7}
INVALID = bytes.fromhex("00 23 24 5C 5E 60 7B 7D 7E A9 AA AC AD AE AF B9 BA")
MARKS = "0300 0301 0302 0303 0304 0306 0307 0308 - 030A 0327 0332 030B 0328 030C"
ACCENTS = "0060 00B4 005E 007E 00AF 02D8 02D9 00A8 - 02DA 00B8 - 02DD 02DB 02C7"
LETTERS = """2126 00C6 00D0 00AA 0126 - 0132 013F 0141 00D8 0152 00BA 00DE 0166 014A 0149
             0138 00E6 0111 00F0 0127 0131 0133 0140 0142 00F8 0153 00DF 00FE 0167 014B -"""
NO_LETTER = [(0xC1, 0xE0), (0xC2, 0xE0), (0xC2, 0xE9), (0xC2, 0xF9)]


def column(first, words):
    return {first + i: int(word, 16) for i, word in enumerate(words.split()) if word != "-"}


PREFIXES, SPACING = column(0xC1, MARKS), column(0xC1, ACCENTS)
SINGLES = {byte: byte for byte in range(0xC0) if byte not in INVALID} | SYMBOLS | column(0xE0, LETTERS)


def combine(prefix, byte):
    if byte in b"\0 " and prefix in SPACING:
        return chr(SPACING[prefix])
    base = chr((SINGLES | PREFIXES).get(byte, 0))
    letter = normalize("NFC", base + chr(PREFIXES[prefix]))
    one = len(letter) == 1 and (prefix, byte) not in NO_LETTER
    return letter if one else chr(byte) + chr(PREFIXES[prefix])


def decode(text):
    if text and text[0] in PREFIXES:
        return combine(text[0], (text + b"\0")[1]) + decode(text[2:])
    return chr(SINGLES[text[0]]) + decode(text[1:]) if text else ""


for pair in range(0x10000):
    try:
        print(decode(pair.to_bytes(2, "big")).encode().hex().upper())
    except KeyError:
        print("-")
