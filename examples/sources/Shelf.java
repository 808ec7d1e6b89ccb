package library;

import java.util.ArrayList;
import java.util.List;
import java.util.Optional;

/**
 * A shelf, on which every book has its place.
 */
public class Shelf implements Comparable<Shelf> {
    private final String label;
    private final List<Book> books = new ArrayList<>();

    public Shelf(String label) {
        this.label = label;
    }

    /** Puts a book where its signature wants it. */
    public void put(Book book) {
        int place = 0;
        while (place < books.size() && books.get(place).compareTo(book) < 0) {
            place++;
        }
        books.add(place, book);
    }

    public Optional<Book> find(String signature) {
        return books.stream().filter(book -> book.hasSignature(signature)).findFirst();
    }

    @Override
    public int compareTo(Shelf other) {
        return label.compareTo(other.label);
    }

    enum Floor { GROUND, FIRST, CELLAR }
}
