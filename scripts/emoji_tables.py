#!/usr/bin/env python3
"""usage: emoji_tables.py UNICODE_FOLDER OUTPUT_FOLDER

Writes the emoji's names and search words in each language, from the Unicode data that Debian has in /usr/share/unicode,
as one file LANGUAGE.emoji each. The format is told in src/ui/common/EmojiTable.h, which reads it; how words are folded and
split must stay as EmojiTable.cpp does it to what a person types."""

import pathlib
import struct
import sys
import unicodedata
import xml.etree.ElementTree
import zlib

# Those that most desktops are set to, by the names of CLDR. A language inherits from the ones that its name begins with.
LANGUAGES = """en ar bg ca cs da de el es fa fi fr he hi hr hu id it ja ko lt nl no pl pt pt_PT ro ru sk sv th tr uk vi zh
zh_Hant""".split()
FILE_NAMES = {"no": "nb"}
ROOTS = {"zh_Hant"}  # inherits from no other
UNSPACED = {"ja", "zh", "zh_Hant"}  # written without spaces: each character may begin a word

MAGIC = 0x6D654243
TONES = range(0x1F3FB, 0x1F400)
LARGEST = 250 * 1024  # bytes, of a table as it is in memory
KEYWORD, NAME, NAME_START = 0, 1, 2
UNDECOMPOSED = str.maketrans("łøđı", "lodi")


def folded(text):
    decomposed = unicodedata.normalize("NFKD", text).casefold().translate(UNDECOMPOSED)
    return "".join(c for c in decomposed if not (unicodedata.category(c) == "Mn" and unicodedata.combining(c) >= 10))


def words_of(text):
    return "".join(c if unicodedata.category(c)[0] in "LNM" else " " for c in folded(text)).split()


def bare(emoji):
    return emoji.replace("\ufe0f", "")


def emoji_list(path):
    """(emoji, the same in the first skin tone or nothing, English name) in the order of the Unicode charts, and the tones."""
    every, toned, components = [], {}, []
    for line in path.read_text(encoding="utf-8").splitlines():
        points, _, rest = line.partition(";")
        status, _, comment = rest.partition("#")
        status = status.strip()
        if status not in ("fully-qualified", "component"):
            continue
        codes = [int(code, 16) for code in points.split()]
        emoji = "".join(map(chr, codes))
        name = comment.strip().split(" ", 2)[2]
        if status == "component":
            if codes[0] in TONES:
                components.append((emoji, "", name))
            continue
        tones = {code for code in codes if code in TONES}
        if tones:
            if tones == {TONES[0]}:
                plain = bare("".join(c for c in emoji if ord(c) not in TONES))
                toned.setdefault(plain, emoji)
        else:
            every.append((emoji, name))
    return [(emoji, toned.get(bare(emoji), ""), name) for emoji, name in every] + components


def annotations(root, language):
    """{emoji: name} and {emoji: keywords} of a language with what it inherits."""
    names, keywords = {}, {}
    parts = language.split("_")
    chain = [language] if language in ROOTS else ["_".join(parts[:n]) for n in range(1, len(parts) + 1)]
    for ancestor in chain:
        for folder in ("annotations", "annotationsDerived"):
            path = root / "cldr" / "common" / folder / f"{ancestor}.xml"
            if not path.exists():
                if (ancestor, folder) == (chain[0], "annotations"):
                    sys.exit(f"{path} is missing: install unicode-cldr-core.")
                continue
            for element in xml.etree.ElementTree.parse(path).iter("annotation"):
                text = (element.text or "").strip()
                if not text or text == "↑↑↑":
                    continue
                if element.get("type") == "tts":
                    names[element.get("cp")] = text
                else:
                    keywords[element.get("cp")] = [word.strip() for word in text.split("|")]
    return names, keywords


def cut(text):
    """As UTF-8 of at most 255 bytes."""
    data = text.encode("utf-8")
    return data if len(data) < 256 else data[:255].decode("utf-8", "ignore").encode("utf-8")


def table(emojis, list_sum, names, keywords, language):
    index = {}  # word: {emoji's number: kind}

    def note(word, number, kind):
        kinds = index.setdefault(word, {})
        kinds[number] = max(kind, kinds.get(number, KEYWORD))

    def enter(words, number, first, kind):
        for place, word in enumerate(words):
            note(word, number, first if place == 0 else kind)
            if language in UNSPACED:
                for start in range(1, len(word)):
                    note(word[start:], number, kind)

    texts = [[], [], []]  # emoji, the same in the first tone, names
    name_words = []
    for number, (emoji, toned, english) in enumerate(emojis):
        key = bare(emoji)
        name = names.get(key) or names.get(emoji) or (english if language == "en" else "")
        words = words_of(name)
        enter(words, number, NAME_START, NAME)
        for keyword in keywords.get(key, keywords.get(emoji, [])):
            enter(words_of(keyword), number, KEYWORD, KEYWORD)
        for column, text in zip(texts, (emoji, toned, name) if language == "en" else ("", "", name)):
            column.append(cut(text))
        name_words.append(len(words))
    words = sorted(cut(word) for word in index)
    postings, counts = [], []
    for word in words:
        before = 0
        for number, kind in sorted(index[word.decode("utf-8")].items()):
            postings.append(kind << 12 | number - before)
            before = number
        counts.append(len(index[word.decode("utf-8")]))
    columns = [*texts, words]
    text = b"".join(b"".join(column) for column in columns)
    return b"".join([struct.pack("<6I", MAGIC, list_sum, len(emojis), len(words), len(postings), len(text)),
                     *(bytes(map(len, column)) for column in columns), bytes(name_words),
                     struct.pack(f"<{len(counts)}H", *counts), struct.pack(f"<{len(postings)}H", *postings), text])


def main():
    root, output = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    emojis = emoji_list(root / "emoji" / "emoji-test.txt")
    list_sum = zlib.crc32("\n".join(emoji for emoji, _, _ in emojis).encode("utf-8"))
    output.mkdir(parents=True, exist_ok=True)
    written = set()
    for language in LANGUAGES:
        data = table(emojis, list_sum, *annotations(root, language), language)
        if len(data) > LARGEST:
            sys.exit(f"The table of {language} has {len(data)} bytes.")
        name = FILE_NAMES.get(language, language) + ".emoji"
        # The size before, in the order that the toolkit reads it in, then what zlib made of it.
        (output / name).write_bytes(struct.pack(">I", len(data)) + zlib.compress(data, 9))
        written.add(name)
    for stale in output.glob("*.emoji"):
        if stale.name not in written:
            stale.unlink()


main()
