# What the module `treesitter` offers, for type checkers and editors; the texts of help() are in the
# module itself.
#
# Tested by tests/python/test_stub.py, which compares both.
import enum
import os
import re
from collections.abc import Iterable, Iterator
from dataclasses import dataclass
from typing import Final, Literal, Protocol, TypeAlias, final, overload

_Path: TypeAlias = str | bytes | os.PathLike[str] | os.PathLike[bytes]
_Bytes: TypeAlias = bytes | bytearray | memoryview
_Rules: TypeAlias = Literal["standard", "navigation"]
# A path, (path, file_id), (content, language, path) or (content, language, path, file_id).
_Item: TypeAlias = (
    _Path
    | tuple[_Path, int]
    | tuple[str | _Bytes, str, _Path]
    | tuple[str | _Bytes, str, _Path, int]
)

class _Node(Protocol):
    @property
    def text(self) -> bytes | None: ...

__all__ = [
    "IMPORT_MODULE_KIND",
    "LanguageInfo",
    "MAX_BODY_DIGEST_LENGTH",
    "MAX_DOCSTRING_LENGTH",
    "ParseError",
    "ParseMany",
    "ParseResult",
    "ReferenceInfo",
    "ResultLimitError",
    "Symbol",
    "SymbolKind",
    "TRUNCATION_SUFFIX",
    "TreeSitterEngine",
    "core_version",
    "detect_language",
    "language_infos",
    "language_names",
    "parse_many",
]

__version__: str

MAX_DOCSTRING_LENGTH: Final[int]
TRUNCATION_SUFFIX: Final[str]
MAX_BODY_DIGEST_LENGTH: Final[int]
IMPORT_MODULE_KIND: Final[str]
_BODY_DIGEST_RE: Final[re.Pattern[str]]

class SymbolKind(enum.StrEnum):
    CLASS = "class"
    FUNCTION = "function"
    METHOD = "method"
    INTERFACE = "interface"
    TYPE = "type"
    ENUM = "enum"
    VARIABLE = "variable"
    MODULE = "module"
    CONSTANT = "constant"

@final
@dataclass
class ReferenceInfo:
    name: str
    line: int
    kind: str

@final
@dataclass
class Symbol:
    id: int | None
    file_id: int
    name: str
    kind: SymbolKind
    fqn: str
    start_line: int
    end_line: int
    signature: str | None
    is_export: bool
    docstring: str | None
    body_digest: str | None
    def __init__(
        self,
        id: int | None,
        file_id: int,
        name: str,
        kind: SymbolKind | str,
        fqn: str,
        start_line: int,
        end_line: int,
        signature: str | None,
        is_export: bool,
        docstring: str | None,
        body_digest: str | None,
    ) -> None: ...

@final
@dataclass
class ParseResult:
    path: str
    language: str
    content_hash: str
    symbols: list[Symbol]
    references: list[ReferenceInfo]
    errors: list[str]

@final
@dataclass
class LanguageInfo:
    name: str
    grammar_package: str
    grammar_version: str
    file_names: tuple[str, ...]
    suffixes: tuple[str, ...]

class ParseError(RuntimeError): ...
class ResultLimitError(RuntimeError): ...

@final
class ParseMany(Iterator[ParseResult | None]):
    def __next__(self) -> ParseResult | None: ...
    def __enter__(self) -> ParseMany: ...
    def __exit__(self, *exception: object) -> None: ...
    def close(self) -> None: ...

@final
class TreeSitterEngine:
    def __init__(self, rules: _Rules = "standard") -> None: ...
    @property
    def rules(self) -> _Rules: ...
    @overload
    def parse_file(
        self, file_path: _Path, file_id: int = 0, language: None = None
    ) -> ParseResult | None: ...
    @overload
    def parse_file(self, file_path: _Path, file_id: int = 0, *, language: str) -> ParseResult: ...
    @overload
    def parse_file(self, file_path: _Path, file_id: int, language: str) -> ParseResult: ...
    def parse_content(
        self, content: str, language: str, file_path: _Path, file_id: int = 0
    ) -> ParseResult: ...
    def parse_bytes(
        self, content: _Bytes, language: str, file_path: _Path, file_id: int = 0
    ) -> ParseResult: ...
    def parse_many(self, items: Iterable[_Item], threads: int | None = None) -> ParseMany: ...
    def __copy__(self) -> TreeSitterEngine: ...
    def __deepcopy__(self, __memo: object) -> TreeSitterEngine: ...

def parse_many(items: Iterable[_Item], threads: int | None = None) -> ParseMany: ...
def detect_language(file_path: _Path) -> str | None: ...
def language_names() -> tuple[str, ...]: ...
def language_infos() -> tuple[LanguageInfo, ...]: ...
def core_version() -> str: ...
@overload
def _truncate_docstring(__text: None) -> tuple[None, bool]: ...
@overload
def _truncate_docstring(__text: str) -> tuple[str, bool]: ...
def _node_text(__node: _Node) -> str | None: ...
def _strip_matching_quotes(__text: str) -> str: ...
def _process_engine(__rules: _Rules = "standard") -> TreeSitterEngine: ...
