# SPDX-License-Identifier: Apache-2.0
"""The rules of differences.txt: how dmidecode's output follows from ours.

Lines are "rule | type | ...", "because: reason" above them; a type of "*" is any.

  name    | type | our name | their name [| regular expression for our text]
  word    | type | our name | our text | their text     of a text or of an item
  pattern | type | our name | regular expression for our text | replacement
  line    | type | our name                    a list of ours is one line of theirs
  count   | type | our name                    their list begins with its length
  whole   | type | our name                    they show the list when all of it is there
  short   | type | our name                    they show nothing but the length of a list
                                                that is not all there
  lists   | type | our name | regular expression for our items | what they show, one
                                                text, or items behind "items: "
  drop    | type | our name | regular expression for an item that they do not show
  flags   | type | our name                    theirs is a list of all words with Yes or No
  half    | type | our name                    theirs is half of it: without the lowest bit
  also    | type | their name | our text | their text   what they may have instead
  cut     | type | our name | our names        which they do not show when the bytes of the
                                                first are not all there
  cut off | *    | *                           a structure over the table's end
  size    | type | our name                    theirs is ours, cut off to its unit
  devices | type | our name                    each item is some fields of theirs
  empty   | type | our name | their text       what they print for a list without items
  merged  | type | their name | our names      lists of ours that are one of theirs
  joined  | type | their name | "{our name}, {our name}"
  numbered| type | our name | their prefix [| and]   our item N is their field "prefix N",
                                                besides the field itself
  unseen  | type | our name | regular expression   what of ours they do not show, a
                                                list's items between commas
  from    | type | our name | length           they show the field from that length on
  theirs  | type | their name                  what is no field of the table
  absent  | type | their name | regular expression  their text for what is not there
  case    | type | our name                    the same but for capital letters
  silent  | type | our name | regular expression | our names  which they do not show
                                                when the first has such a text
"""
import functools
import re


class Rules:
    def __init__(self, path):
        self.rules = {}
        self.unused = set()
        because = None
        for number, line in enumerate(path.read_text().splitlines(), 1):
            if line.startswith("because: "):
                because = line
            elif line.strip() and not line.startswith("#"):
                kind, types, *parts = [part.strip() for part in re.split(r"\s\|(?:\s|$)", line)]
                assert because, f"{path}:{number}: a difference without a reason"
                place = f"{path.name}:{number}: {line}"
                self.unused.add(place)
                for of_type in types.split(","):
                    key = (kind, of_type.strip(), parts[0])
                    self.rules.setdefault(key, []).append((parts[1:], place))

    @functools.lru_cache(maxsize=None)
    def find(self, kind, of_type, name):
        of_type = str(of_type)
        keys = dict.fromkeys(((kind, of_type, name), (kind, of_type, "*"), (kind, "*", name),
                              (kind, "*", "*")))
        return [rule for key in keys for rule in self.rules.get(key, ())]

    def use(self, place):
        self.unused.discard(place)

    @functools.lru_cache(maxsize=None)
    def named(self, kind, of_type):
        """The rules of a kind for a type: name, parts, place."""
        return [(name, parts, place) for (rule, rule_type, name), found in self.rules.items()
                if rule == kind and rule_type in (str(of_type), "*")
                for parts, place in found]

    def first(self, kind, of_type, name):
        for parts, place in self.find(kind, of_type, name):
            self.use(place)
            return parts
        return None

    def renamed(self, of_type, name, value):
        for parts, place in self.find("name", of_type, name):
            if len(parts) == 1 or re.fullmatch(parts[1], str(value)):
                self.use(place)
                return parts[0]
        return name

    def text(self, of_type, name, text):
        for parts, place in self.find("word", of_type, name):
            if parts[0] == text:
                self.use(place)
                return parts[1]
        for parts, place in self.find("pattern", of_type, name):
            changed, count = re.subn(parts[0], parts[1], text)
            if count:
                self.use(place)
                text = changed
        return text

    def silenced(self, structure):
        """What they do not show because of another field."""
        names = set()
        for name, parts, place in self.named("silent", structure.type):
            if re.fullmatch(parts[0], str(structure.fields.get(name))):
                self.use(place)
                names |= {other.strip() for other in parts[1].split(",")}
        for name, parts, place in self.named("cut", structure.type):
            data = " ".join(structure.fields.get(name, []))
            if name in structure.fields and len(data.split()) < structure.numbers[name]:
                self.use(place)
                names |= {other.strip() for other in parts[0].split(",")}
        return names

    def hides(self, structure, name):
        """Whether they do not show this field of ours."""
        value = structure.fields[name]
        text = ", ".join(value) if isinstance(value, list) else value
        for parts, place in self.find("unseen", structure.type, name):
            if re.fullmatch(parts[0], text):
                self.use(place)
                return True
        if isinstance(value, list) and len(value) < structure.numbers[name] and \
                self.first("whole", structure.type, name) is not None:
            return True
        for parts, place in self.find("from", structure.type, name):
            if structure.length < int(parts[0]):
                self.use(place)
                return True
        return False

    def value(self, structure, name):
        """Our field in their words."""
        kind, value = structure.type, structure.fields[name]
        if self.first("half", kind, name) is not None:
            return f"0x{int(value, 16) // 2:02x}"
        if not isinstance(value, list):
            return self.text(kind, name, value)
        flags = self.first("flags", kind, name)
        if flags is not None:
            return [f"{word.strip()}: {'Yes' if word.strip() in value else 'No'}"
                    for word in flags[0].split(",")]
        for parts, place in self.find("drop", kind, name):
            kept = [item for item in value if not re.fullmatch(parts[0], item)]
            if kept != value:
                self.use(place)
                value = kept
        for parts, place in self.find("lists", kind, name):
            if re.fullmatch(parts[0], ", ".join(value)):
                self.use(place)
                if not parts[1].startswith("items: "):
                    return parts[1]
                value = parts[1].removeprefix("items: ").split(", ")
        items = [self.text(kind, name, item) for item in value]
        empty = None if items else self.first("empty", kind, name)
        if empty is not None:
            return empty[0]
        if self.first("line", kind, name) is not None:
            return " ".join(items)
        if self.first("count", kind, name) is not None:
            count = str(structure.numbers[name])
            alone = not items or self.first("numbered", kind, name) is not None
            return count if alone else [count] + items
        return items

    def relist(self, of_type, name, made):
        """Puts a text in the place of a merged list."""
        for parts, place in self.find("lists", of_type, "merged " + name):
            if re.fullmatch(parts[0], ", ".join(made[name])):
                self.use(place)
                made[name] = parts[1]

    def also(self, structure, name, mine, other):
        for parts, place in self.find("also", structure.type, name):
            if (parts[0], parts[1]) == (mine, other):
                self.use(place)
                return True
        return False

    @staticmethod
    def merge(values):
        """Lists behind each other, or the text in place of one."""
        texts = [value for value in values if isinstance(value, str) and value]
        items = [item for value in values if isinstance(value, list) for item in value]
        return texts[0] if "Unknown" in texts or texts and not items else items or ""

    def devices(self, structure, name):
        """A device's type, status and description, each with its number."""
        made = {}
        devices = structure.fields[name]
        for number, device in enumerate(devices, 1):
            kind, status, *description = device.split(", ", 2)
            prefix = f"{number} " if len(devices) > 1 else ""
            made[prefix + "Type"] = self.text(structure.type, name, kind)
            made[prefix + "Status"] = status
            made[prefix + "Description"] = (description or ["Not Specified"])[0]
        return made

    def cut_size(self, structure, name, mine, other):
        """Whether theirs is ours, or its other unit, without what is below one."""
        units = ("bytes", "kB", "MB", "GB", "TB", "PB", "EB")
        try:
            theirs, unit = other.split(" ")
            power = 1024 ** units.index(unit)
            ours, unit = mine.split(" ")
            exact = int(ours) * 1024 ** units.index(unit)
        except (AttributeError, ValueError):
            return False
        named = [place for our_name, _, place in self.named("size", structure.type)
                 if self.renamed(structure.type, our_name, mine) == name]
        for place in named:
            self.use(place)
        return bool(named) and exact // power == int(theirs)

    def expected(self, structure):
        """What they should print of a structure: fields by name."""
        silenced = self.silenced(structure)
        left = {name for name in structure.fields
                if name not in silenced and not self.hides(structure, name)}
        made = {}
        any_case = set()
        for their_name, parts, place in self.named("merged", structure.type):
            names = [name.strip() for name in parts[0].split(",")]
            if left & set(names):
                self.use(place)
                made[their_name] = self.merge([self.value(structure, name) for name in names
                                               if name in left])
                self.relist(structure.type, their_name, made)
                left -= set(names)
        for their_name, parts, place in self.named("joined", structure.type):
            names = re.findall(r"{(.*?)}", parts[0])
            if set(names) <= left:
                self.use(place)
                made[their_name] = re.sub(
                    r"{(.*?)}", lambda name: self.value(structure, name[1]), parts[0])
                made[their_name] = self.text(structure.type, "joined " + their_name,
                                             made[their_name]).strip()
                left -= set(names)
        for name in left:
            if self.first("devices", structure.type, name) is not None:
                made.update(self.devices(structure, name))
                continue
            numbered = self.first("numbered", structure.type, name)
            if numbered is not None:
                items = structure.fields[name]
                if len(items) < structure.numbers[name] and \
                        self.first("short", structure.type, name) is not None:
                    items = []
                for place, item in enumerate(items, 1):
                    made[f"{numbered[0]} {place}"] = self.text(structure.type, name, item)
                if len(numbered) == 1:
                    continue
            their_name = self.renamed(structure.type, name, structure.fields[name])
            made[their_name] = self.value(structure, name)
            if self.first("case", structure.type, name) is not None:
                any_case.add(their_name)
        return made, any_case

    def absent(self, structure, name, text):
        """Whether they say that something is not there."""
        for parts, place in self.find("absent", structure.type, name):
            if re.fullmatch(parts[0], str(text)):
                self.use(place)
                return True
        return False

    def differences(self, structure, theirs):
        """What the rules do not explain, as lines."""
        if "<TRUNCATED>" in theirs.fields and self.first("cut off", structure.type, "*") is not None:
            return []
        made, any_case = self.expected(structure)
        for their_name, _, place in self.named("theirs", structure.type):
            if their_name in theirs.fields and their_name not in made:
                made[their_name] = theirs.fields[their_name]
                self.use(place)
        wrong = []
        for name in sorted(set(made) | set(theirs.fields)):
            mine, other = made.get(name), theirs.fields.get(name)
            same = mine == other or name in any_case and str(mine).lower() == str(other).lower()
            same = same or self.cut_size(structure, name, mine, other)
            same = same or self.also(structure, name, mine, other)
            if not same and not (mine is None and self.absent(structure, name, other)):
                wrong.append(f"type {structure.type} length {structure.length} handle "
                             f"0x{structure.handle:04X} {name}: expected {made.get(name)!r}, "
                             f"dmidecode has {theirs.fields.get(name)!r}")
        return wrong
