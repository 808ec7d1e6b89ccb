/** Of the package. */
package shop.stock;

import java.util.*;
import java.util.Map.Entry;
import static shop.Checks.positive;

/** How much of what. */
public record Amount<T extends Comparable<T> & java.io.Serializable>(int count, @Checked T unit, String... notes)
        implements Shape<Money> {
    /** Canonical. */
    public Amount { positive(count); }
    private Amount(int count) { this(count, null); }
    static final int ZERO = 0, ONE = 1;
    /** The first. */
    static int made = 1,
        /** The second. */
        sizes[] = {2};
}

/** Marks what is counted. */
@interface Counted {
    int value() default 1;
    String UNIT = "piece";
    Class<? extends Unit>[] units() default {};
}

public sealed interface Shape<T> extends Base<T>, Other permits Amount, Square {
    int SIDES = 4;
    void draw() throws shop.DrawException;
    private void hide() {}
    enum Corner { SHARP }
}

enum State implements Coded {
    /** Open to all. */
    OPEN(1) { @Override String label() { return "o"; } },
    @Deprecated CLOSED(2);
    private final int code;
    State(int code) { this.code = code; }
    public static State of(int code) { return values()[code]; }
}

class Shelf extends shop.Room<Wood>.Place {
    private volatile Map<String, List<Item>> items = new HashMap<>(), lost;
    Runnable close = new Runnable() {
        int tries = 3;
        @Override public void run() { super.toString(); }
    };
    static { prepare(); }
    Shelf(Room room) { room.super(2); }
    Shelf() { super(); }
    <K extends Key> K find(final Map.Entry<Shelf, K> entry, Item... more) {
        int local = 3;
        Object found = (Wood & Board) entry;
        if (found instanceof Box box && found instanceof Amount(int count, var unit)) box.open();
        try (Reader reader = new Reader()) { a.b().c.read(1); }
        catch (final EndException | shop.LostException e) { throw new Lost(); }
        use(Shelf::new, Map.Entry::new, String[]::new, Shape.super::hide, Item::name, this::find);
        class Visitor { int seen; void visit() {} }
        var inner = new Outer.Inner<Wood>();
        Class<?>[] all = {Item[].class, int.class, shop.Till.class};
        switch (found) {
            case Item item when item.fits() -> put(item);
            case Pair(Left l, Nested(Right r)) -> {}
            case SIDES -> {}
            default -> {}
        }
        for (Item item : more) {}
        outer.new Drawer();
        return this.<K>first((Item i, var j) -> i.second());
    }
    native void weigh(@Counted Shelf this, int weight); /// Not of the next.
    ///// Nor this.
    /// In *Markdown*,
    /// on two lines.
    @Override void turn() {}
}
