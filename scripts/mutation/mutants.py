"""The mutants of a source file: each has one operator, number, text or statement changed."""

import dataclasses
import pathlib
import re

SUFFIXES = (".cpp", ".h", ".l", ".y")

# Left alone: comments, directives, static assertions, hints to the compiler. Texts have a rule of their own.
TEXT = r'"(?:\\.|[^"\\\n])*"'
SKIPPED = re.compile(r"//[^\n]*|/\*.*?\*/|^[ \t]*#(?:\\\n|[^\n])*|\bstatic_assert\b.*?;|\btemplate <[^\n]*>$"
                     r"|'(?:\\.|[^'\\\n])*'|" + TEXT, re.S | re.M)
HINT = re.compile(r"(?<=__builtin_expect\()(.*), [01]\)")

# Of a scanner, its functions and what its rules return; of a grammar, its functions and actions.
GENERATED_CODE = {".l": re.compile(r"\breturn [^;]*;|(?<=\n%%\n)\n//.*\Z", re.S),
                  ".y": re.compile(r"^%code \{.*?^\}|\{ add\(.*?\}", re.S | re.M)}

SWAPS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
         "+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "<<": ">>", ">>": "<<", "&": "|", "|": "&", "^": "&",
         "+=": "-=", "-=": "+=", "|=": "&=", "&=": "|=", "++": "--", "--": "++",
         "true": "false", "false": "true", "std::min": "std::max", "std::max": "std::min"}


def next_number(match):
    digits = match[1]
    return (f"0x{int(digits, 16) + 1:x}" if digits[:2] in ("0x", "0X") else
            str(float(digits) + 1) if "." in digits else
            f"0{int(digits, 8) + 1:o}" if digits[0] == "0" and len(digits) > 1 else str(int(digits) + 1)) + match[2]


# Output, whose operator has no counterpart: a mutant would not compile.
STREAM = re.compile(r'^\s*<<|"|\bout\b|std::(?:hex|dec)')

# A call, an assignment or a jump is deleted if it ends where its line ends, and begins where a statement may begin.
DELETED = r"\1;"
STATEMENT_BEGINS = re.compile(r"(?:\A|[;{}):]|\belse)\s*\Z")

CHOICE = r"(?:[^?:;,()]|::|\((?:[^()]|\([^()]*\))*\))"  # of two; brackets are whole

# Binary operators have spaces around them, unlike brackets of templates, references and pointers.
RULES = [(re.compile(pattern, re.M), replacement) for pattern, replacement in (
    (r"(?<=\s)(?:<<|>>|[<>=!]=|[<>]|&&|\|\||[-+*/%&|^]|[-+|&]=)(?=\s)|\+\+|--|\b(?:true|false|std::min|std::max)\b",
     lambda match: SWAPS[match[0]]),
    (r"(?<![\w.])(0[xX][0-9a-fA-F]+|\d+\.\d+|\d+)([uUlL]*)(?![\w.])", next_number),
    (r"!(?=[\w(*])|(?<=[ (])[-~](?=[\w:]+[^\w:(])", ""),
    (r"\b(if|while) \(((?:[^()&|<>=!\n]|\(\w*\)|->)+)\)(?=\s)", r"\1 (!(\2))"),
    (r"\breturn (?!(?:true|false|0|nullptr|-1)?;)[^;{}]+;", "return {};"),
    (rf"\? ({CHOICE}+?) : ({CHOICE}+?)(?=[;,)]| <<)", r"? \2 : \1"),
    (r"^( +)(?:[\w:.>*\[\]-]+\(.*\)|(?:[\w.>*\[\]()-]|::)+ [-+|&]?= [^;\n]*|(?:\+\+|--)\w+"
     r"|break|continue|return);(?= *$)", DELETED),
    (r"(?<=\{ )add\(.*\);(?= \})", ""),
)]


@dataclasses.dataclass(frozen=True)
class Mutant:
    """One change: replaces the text between two places of a file."""

    path: str
    text: str = dataclasses.field(repr=False)
    begin: int
    end: int
    new: str

    def changed(self):
        return self.text[:self.begin] + self.new + self.text[self.end:]

    def line(self):
        return self.text.count("\n", 0, self.begin) + 1

    def key(self):
        """File, and the lines before and after: identifies a mutant while other lines change."""
        first = self.text.rfind("\n", 0, self.begin) + 1
        last = self.text.find("\n", self.end)
        around = self.text[first:self.begin], self.text[self.end:last]
        return (self.path, *(" ".join(part.split())
                             for part in (self.text[first:last], around[0] + self.new + around[1])))

    def place(self):
        """Identifies a mutant as long as the file does not change."""
        path, before, after = self.key()
        return f"{path}:{self.line()}", before, after


def code_of(path, text):
    """The text with spaces in place of all that is not code."""
    def blank(span):
        return re.sub(r"[^\n]", " ", span)

    code = SKIPPED.sub(lambda match: '"' + "_" * (len(match[0]) - 2) + '"' if match[0][0] in "\"'" else
                       blank(match[0]), text)
    code = HINT.sub(lambda match: match[1] + blank(match[0][len(match[1]):]), code)
    pattern = GENERATED_CODE.get(pathlib.PurePath(path).suffix)
    if pattern:
        kept, end = "", 0
        for match in pattern.finditer(text):
            kept += blank(text[end:match.start()]) + code[match.start():match.end()]
            end = match.end()
        code = kept + blank(text[end:])
    return code


def mutants_of(path, text):
    """All mutants of a file, in order."""
    found = {}
    code = code_of(path, text)
    for pattern, replacement in RULES:
        for match in pattern.finditer(code):
            if replacement == DELETED and not STATEMENT_BEGINS.search(code[max(0, match.start() - 500):match.start()]):
                continue
            line = code[code.rfind("\n", 0, match.start()) + 1:].partition("\n")[0]
            if match[0] == "<<" and STREAM.search(line):
                continue
            # The unchanged parts are taken from the text, as `code` has no strings.
            new = replacement(match) if callable(replacement) else re.sub(
                r"\\(\d)", lambda group, match=match: text[slice(*match.span(int(group[1])))], replacement)
            found.setdefault((match.start(), match.end(), new), Mutant(path, text, match.start(), match.end(), new))
    for match in SKIPPED.finditer(text):
        letter = re.search(r"(?<![\\%])[A-Za-z]", match[0])
        if match[0][0] == '"' and letter and code[match.start()] == '"':
            place = match.start() + letter.start()
            found[place, place + 1, ""] = Mutant(path, text, place, place + 1, "x" if letter[0] != "x" else "y")
    return [found[place] for place in sorted(found) if found[place].changed() != text]
