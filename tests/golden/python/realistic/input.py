"""Stock keeping for a small shop."""
import json
from dataclasses import dataclass
from .store import Store, StoreError as Error

LOW_STOCK = 5
_cache: dict[str, int] = {}


@dataclass
class Article:
    """An article on a shelf.

    Prices are in cents.
    """

    name: str
    price: int = 0

    def total(self, count):
        """What `count` of them cost."""
        if count < 0:
            raise ValueError(count)
        return self.price * count

    @property
    def _label(self):
        return json.dumps({"name": self.name})


class Shelf(Store):
    async def take(self, name, count=1):
        # Waits for the article.
        article = await self.find(name)
        if article is None:
            raise Error(name)
        return article.total(count)
