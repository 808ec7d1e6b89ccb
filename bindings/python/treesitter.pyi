# What the module `treesitter` offers, for type checkers and editors; the texts of help() are in the
# module itself.
#
# Tested by tests/python/test_stub.py, which compares both.
import enum
import os
import re
import types
from collections.abc import Iterable, Iterator
from dataclasses import dataclass
from typing import (
    Final,
    Generic,
    Literal,
    Protocol,
    SupportsIndex,
    TypeAlias,
    TypedDict,
    TypeVar,
    final,
    overload,
)

_Path: TypeAlias = str | bytes | os.PathLike[str] | os.PathLike[bytes]
_Bytes: TypeAlias = bytes | bytearray | memoryview
_Rules: TypeAlias = Literal["standard", "navigation"]
_Match: TypeAlias = Literal["exact", "prefix", "substring", "fuzzy"]
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
    "Answer",
    "Candidate",
    "Change",
    "Definition",
    "IMPORT_MODULE_KIND",
    "Index",
    "LanguageCount",
    "LanguageInfo",
    "MAX_BODY_DIGEST_LENGTH",
    "MAX_DOCSTRING_LENGTH",
    "ParseError",
    "ParseMany",
    "ParseResult",
    "ReferenceInfo",
    "RepositoryIndexError",
    "ResultLimitError",
    "Statistics",
    "Symbol",
    "SymbolKind",
    "TRUNCATION_SUFFIX",
    "TreeSitterEngine",
    "Use",
    "build_info",
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

class _BuildPart(TypedDict):
    version: str
    digest: str

class _BuildGrammar(_BuildPart):
    package: str

class _BuildGuards(TypedDict):
    operations: int
    operations_per_kib: int
    memory: int
    memory_per_byte: int
    seconds: int
    seconds_per_mib: int
    scanner_state: int
    file: int

class _BuildInfo(TypedDict):
    digest: str
    engine: _BuildPart
    core: _BuildPart
    grammars: dict[str, _BuildGrammar]
    rules: list[str]
    guards: _BuildGuards
    unicode_of_text: str
    unicode_of_expressions: str
    compiler: str

class ParseError(RuntimeError): ...
class ResultLimitError(RuntimeError): ...
class RepositoryIndexError(RuntimeError): ...

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

# The records of an index's answers; doc/schema/answer.json describes their fields.

@final
@dataclass(frozen=True)
class Definition:
    path: str
    line: int
    last_line: int
    kind: SymbolKind
    name: str
    fqn: str
    language: str
    is_export: bool
    is_test: bool
    signature: str | None
    docstring: str | None

@final
@dataclass(frozen=True)
class Candidate:
    definition: Definition
    evidence: tuple[str, ...]

@final
@dataclass(frozen=True)
class Use:
    path: str
    line: int
    kind: str
    name: str
    is_test: bool
    within: Definition | None
    candidates: tuple[Candidate, ...]
    candidate_count: int
    definition_count: int
    definitions_cut: bool

_Row = TypeVar("_Row", Definition, Use)

@final
@dataclass(frozen=True)
class Answer(Generic[_Row]):
    rows: tuple[_Row, ...]
    is_cut: bool
    def __iter__(self) -> Iterator[_Row]: ...
    def __len__(self) -> int: ...
    @overload
    def __getitem__(self, __index: SupportsIndex) -> _Row: ...
    @overload
    def __getitem__(self, __index: slice) -> tuple[_Row, ...]: ...
    def __class_getitem__(cls, __row: object) -> types.GenericAlias: ...

@final
@dataclass(frozen=True)
class Change:
    path: str
    change: str
    error: str | None

@final
@dataclass(frozen=True)
class LanguageCount:
    language: str
    files: int
    symbols: int

@final
@dataclass(frozen=True)
class Statistics:
    root: str
    database: str
    made_by: str
    is_complete: bool
    bytes: int
    failed: int
    languages: tuple[LanguageCount, ...]

# With the module of a wheel, a process that has an Index open must not open the same database by
# another copy of SQLite, such as the module sqlite3: closing it there drops the locks that the process
# holds here.
@final
class Index:
    def __init__(self, path: _Path = ".", *, database: _Path | None = None) -> None: ...
    @property
    def root(self) -> str: ...
    @property
    def database(self) -> str: ...
    def find(
        self,
        name: str,
        *,
        match: _Match = "exact",
        kind: SymbolKind | str | None = None,
        language: str | None = None,
        within: _Path | None = None,
        limit: int | None = 100,
    ) -> Answer[Definition]: ...
    def callers(
        self,
        name: str,
        *,
        language: str | None = None,
        within: _Path | None = None,
        limit: int | None = 100,
    ) -> Answer[Use]: ...
    def callees(
        self,
        fqn: str,
        *,
        language: str | None = None,
        within: _Path | None = None,
        limit: int | None = 100,
    ) -> Answer[Use] | None: ...
    def references(
        self,
        name: str,
        *,
        language: str | None = None,
        within: _Path | None = None,
        limit: int | None = 100,
    ) -> Answer[Use]: ...
    def importers(
        self,
        module: str,
        *,
        language: str | None = None,
        within: _Path | None = None,
        limit: int | None = 100,
    ) -> Answer[Use]: ...
    def outline(self, path: _Path) -> Answer[Definition] | None: ...
    def search(
        self,
        words: str,
        *,
        kind: SymbolKind | str | None = None,
        language: str | None = None,
        within: _Path | None = None,
        limit: int | None = 100,
    ) -> Answer[Definition]: ...
    def changed(self) -> tuple[Change, ...]: ...
    def stats(self) -> Statistics: ...
    def is_complete(self) -> bool: ...
    def is_outdated(self) -> bool: ...
    def close(self) -> None: ...
    def __enter__(self) -> Index: ...
    def __exit__(self, *exception: object) -> None: ...

def parse_many(items: Iterable[_Item], threads: int | None = None) -> ParseMany: ...
def detect_language(file_path: _Path) -> str | None: ...
def language_names() -> tuple[str, ...]: ...
def language_infos() -> tuple[LanguageInfo, ...]: ...
def core_version() -> str: ...
def build_info() -> _BuildInfo: ...
@overload
def _truncate_docstring(__text: None) -> tuple[None, bool]: ...
@overload
def _truncate_docstring(__text: str) -> tuple[str, bool]: ...
def _node_text(__node: _Node) -> str | None: ...
def _strip_matching_quotes(__text: str) -> str: ...
def _process_engine(__rules: _Rules = "standard") -> TreeSitterEngine: ...
