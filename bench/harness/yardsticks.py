"""Tables for bench/recall: which names of the tags queries and of ctags the engine is expected to find.

Both are wrong in some cases by design. Such cases are left out, each with the reason, and bench/recall
prints how often that happened.
"""

# Captures that are neither a declaration nor a reference: language, capture, the captured node's
# type, the place of its name (bench/tags_captures.cpp), reason. `*` stands for any.
NO_CAPTURES = [
    ("ruby", "reference.call", "identifier", "*",
     "every bare word is captured, and most are local variables and parameters"),
    ("ruby", "reference.call", "constant", "*", "a bare constant is named, not called"),
    ("php", "reference.class", "*", "variable_name:", "the variable holds the name of a class"),
    ("go", "reference.type", "*", "type_spec:name", "this is where the type is declared"),
    ("go", "reference.type", "*", "type_alias:name", "this is where the type is declared"),
]

# Names that do not count under a capture: language, capture, names, reason.
NO_NAMES = [
    ("go", "reference.type", set(
        "any bool byte comparable complex64 complex128 error float32 float64 int int8 int16 int32 "
        "int64 rune string uint uint8 uint16 uint32 uint64 uintptr".split()),
     "the type is built in"),
    ("go", "reference.type", {"nil", "_"}, "this is no type"),
    ("go", "definition.function", {"_"}, "the blank identifier declares nothing"),
]

# The references that are calls. All others are of types, in one way or another.
CALL_CAPTURES = {"reference.call", "reference.send"}

# The name that ctags has for the language, and its kinds with their meanings. Names of other kinds, and of
# those with None, count only for precision.
CTAGS = {
    "csharp": ("C#", {"class": "class", "struct": "class", "interface": "interface",
                      "enum": "enum", "enumerator": "constant", "method": "method",
                      "property": "field", "field": "field", "event": "field",
                      "namespace": "package", "macro": None, "typedef": None}),
    "go": ("Go", {"package": "package", "func": "function", "const": "constant", "type": "type",
                  "var": "variable", "struct": "class", "interface": "interface",
                  "member": "field", "methodSpec": "method", "talias": "type",
                  "anonMember": None, "packageName": None}),
    "java": ("Java", {"annotation": "interface", "class": "class", "enumConstant": "constant",
                      "field": "field", "enum": "enum", "interface": "interface",
                      "method": "method", "package": "package"}),
    "javascript": ("JavaScript", {"class": "class", "function": "function", "generator": "function",
                                  "method": "method", "getter": "method", "setter": "method",
                                  "field": "field", "property": None,  # a key of an object
                                  "constant": "constant", "variable": "variable"}),
    "typescript": ("TypeScript", {"class": "class", "interface": "interface", "enum": "enum",
                                  "enumerator": "constant", "function": "function",
                                  "generator": "function", "method": "method",
                                  "property": "field", "namespace": "package", "alias": "type",
                                  "constant": "constant", "variable": "variable"}),
    "php": ("PHP", {"class": "class", "interface": "interface", "trait": "class",
                    "function": "function", "define": "constant", "namespace": "package",
                    "variable": "field", "alias": None}),
    "python": ("Python", {"class": "class", "function": "function", "member": "method",
                          "variable": "variable", "namespace": None, "unknown": None}),
    "ruby": ("Ruby", {"class": "class", "module": "package", "method": "method",
                      "singletonMethod": "method", "constant": "constant", "accessor": "field",
                      "alias": "method"}),
    "rust": ("Rust", {"module": "package", "struct": "class", "typedef": "type",
                      "interface": "interface", "implementation": None, "function": "function",
                      "enum": "enum", "method": "method", "enumerator": "constant",
                      "field": "field", "macro": "function", "variable": "constant"}),
    "sql": ("SQL", {"table": "class", "view": "class", "function": "function",
                    "procedure": "function", "trigger": "function", "event": "function",
                    "package": "package", "domain": "type", "subtype": "type", "field": "field",
                    "index": "variable", "publication": None, "synonym": None}),
}
CTAGS["tsx"] = CTAGS["typescript"]

# Entries of ctags that are wrong as a rule: language, kind, patterns of the name and of the line,
# reason.
NO_TAGS = [
    ("javascript", "class", "", r"^(?!.*\bclass\b)",
     "an object or a function with members is called a class"),
    ("javascript", "method", "", r"\.prototype\.\w+\.(apply|call)\(", "this is a call"),
    *[("javascript", kind, r"^\[", "", "the name is computed")
      for kind in ("class", "method", "getter", "setter")],
    ("javascript", "function", "", r"\]\s*=\s*(async\s+)?function\b", "the name is computed"),
    ("javascript", "function", "", r"=\s*\(\s*function\b",
     "the function is called where it stands, and its result is named"),
    *[("javascript", kind, "^exports$",
       r"=\s*(async\s+)?(class|function)\b\s*\*?\s*(?!extends\b)[\w$]",
       "what is exported has a name of its own") for kind in ("class", "function")],
    ("javascript", "field", "", r"^(?!\s*(static\s+)?#?[\w$]+\s*[=;])",
     "this is a key or an operand"),
    *[(language, kind, "", r"^(?!.*\b(const|let|var|using)\b)",
       "this is a key, a parameter or an operand")
      for language in ("javascript", "typescript", "tsx") for kind in ("constant", "variable")],
    *[(language, kind, "", r"^\s", "most that are indented are local to a function")
      for language in ("javascript", "typescript", "tsx") for kind in ("constant", "variable")],
    *[(language, "method", "^new$", "", "this is a signature without a name")
      for language in ("typescript", "tsx")],
    *[(language, "namespace", "", r"^\s*\{", "the name is in a line above")
      for language in ("typescript", "tsx")],
    *[(language, "enumerator", "", r"^\s*\}|//",
       "the name is in a line above, or a word of a comment")
      for language in ("typescript", "tsx")],
    ("csharp", "field", "", r"\boperator\b", "this is a parameter of an operator"),
    ("ruby", "singletonMethod", "^self$", "", "the method's name follows behind self"),
    *[("go", kind, "^_$", "", "the blank identifier declares nothing")
      for kind in ("const", "func", "member", "var")],
    ("ruby", "accessor", "=$", "", "the name is made, and written is the reader's alone"),
    ("ruby", "alias", r"\w$", r"\balias\s+:?\w+[?!=]", "the last character of the name is lost"),
    ("ruby", "constant", "", r"==", "the constant is compared, not assigned to"),
    ("rust", "variable", "", "&'static", "this is a type with a lifetime"),
    *[(language, "alias", "", r"^(?!.*=).*\btype \w+\s*[,}]", "the type is imported or exported here")
      for language in ("typescript", "tsx")],
    ("php", "variable", "", r"^(?!.*\b(public|protected|private|var|static|readonly)\b)",
     "a variable is assigned to, and no property declared"),
    ("sql", "field", r"^(KEY|key)$", "", "the name of the key follows behind the word"),
]
# What ctags writes before a name, though the code has it elsewhere or not at all: language, pattern.
PREFIXES = [
    ("csharp", r"operator +|~"),
]
IN_TEXT = "the line is within a string or a comment"

# A constructor stands within a class of the same name. So a symbol of the kinds HOLDERS is no answer where a
# yardstick names something of the kinds HELD.
HOLDERS = ("class", "interface", "enum", "module")
HELD = ("definition.function", "definition.method", "definition.field", "function", "method",
        "field")

# The kinds of symbols for which precision is computed.
JUDGED_KINDS = ("class", "interface", "enum", "function", "method")
