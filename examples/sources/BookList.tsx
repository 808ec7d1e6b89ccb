import React, { useState } from "react";
import { search } from "./search";

interface Book {
  id: number;
  title: string;
  available: boolean;
}

type Props = { books: Book[]; onReserve: (book: Book) => void };

/** One line of the list. */
function BookRow({ book, onReserve }: { book: Book; onReserve: Props["onReserve"] }) {
  return (
    <li className={book.available ? "free" : "lent"}>
      {book.title}
      <button onClick={() => onReserve(book)}>Reserve</button>
    </li>
  );
}

export function BookList({ books, onReserve }: Props) {
  const [query, setQuery] = useState<string>("");
  return (
    <section>
      <input value={query} onChange={event => setQuery(event.target.value)} />
      <ul>
        {search(books, query).map(book => (
          <BookRow key={book.id} book={book} onReserve={onReserve} />
        ))}
      </ul>
    </section>
  );
}
