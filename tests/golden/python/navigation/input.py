"""What a shop has in stock, and who may take it."""
from __future__ import annotations

import os.path
import typing as t
from typing import TypeAlias, cast
from .store import Store, StoreError as Error

__all__ = ["Article", "count_of"]
__all__ += ["LIMIT"]
__all__.append("Table")

LIMIT = 10
DEFAULT, EMPTY = {}, ()
first, (second, *others) = os.path.split("a/b"), (1, 2, 3)
cents: dict[str, Price] = {}
Table: TypeAlias = t.Mapping[str, "Article"]
type Pair[Item: Base] = tuple[Item, Item]
by_price = lambda article: article.price
cents.default = os.environ["CENTS"]


@register("article", kind=Kinds().plain)
@t.final
class Article(Store, t.Generic[Item], metaclass=Registry):
    """An article on a shelf."""

    COUNT, _seen = 0, None
    price: t.Literal["cheap"] | None = None
    maker: "Maker"
    key = lambda self: self.price

    class Shelf:
        width = 1

    def __init__(self, price: int, *rest: Extra, maker: shop.Maker = None) -> None:
        self.price = price
        local: Local = Shelf()
        super().__init__(price)

    @property
    def total(self) -> t.Optional[Money]:
        """What all of them cost."""
        return cast(Money, self.sum(each() for each in self))

    @total.setter
    def total(self, value: "Money | int"):
        def check(): return isinstance(value, (Money, shop.Cents))

        class Checked(Money):
            checks = 1

        (self.store.check or check)()

    async def take(self):
        async with self.store.lock() as lock: await lock.take()
        return self.fetch()[0].result(f"{lock.name()}")

    if LIMIT > 5:
        def more(self): return issubclass(self.kind, Pair)


try:
    import json
    def count_of(articles: t.List[Article]): ...
except (ImportError, shop.Missing) as error:
    def count_of(articles): raise Error(error)
except Timeout:
    raise shop.Missing from None


def _price_of(article):
    """Not for others."""
    match article:
        case Article(maker=shop.Maker()): return 1
        case _: return sorted(article, key=lambda each: each.rank())


class _Hidden:
    def shown(self): pass


class Registry:
    size: int = 0
    """How many there are."""
    items: t.Optional["Article"] = None
    # Not about items.
    """Nor is this."""

    def fill(self, *args: P.args, **kwargs: P.kwargs) -> t.Literal["full"]:
        HANDLERS[self.size](isinstance(self, Pair | shop.Cents))
        def packed[*Ts, **P](): pass
        return Shelf[int](cast("Money", args)).of[int]()


Owner: t.TypeAlias = "Registry"
