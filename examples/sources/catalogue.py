"""The catalogue of a small lending library."""
from dataclasses import dataclass, field
from pathlib import Path
import json

MAX_RESULTS = 20


@dataclass
class Book:
    """One title, whatever the number of its copies."""

    title: str
    author: str
    copies: int = 1
    tags: list[str] = field(default_factory=list)

    def matches(self, word):
        """Whether the word stands in the title or is one of the tags."""
        return word.lower() in self.title.lower() or word in self.tags


class Catalogue:
    def __init__(self, path: Path):
        self._books = [Book(**entry) for entry in json.loads(path.read_text())]

    def search(self, *words):
        """The first books that match all words, by title."""
        found = [book for book in self._books if all(map(book.matches, words))]
        return sorted(found, key=self._by_title)[:MAX_RESULTS]

    @staticmethod
    def _by_title(book):
        return book.title
