package shop.orders;

import java.util.List;
import java.util.Optional;

/**
 * Keeps the orders of one day.
 *
 * @see Order
 */
@Service
public class OrderBook extends Book<Order> implements Closeable {
    private static final Logger LOG = Logger.of(OrderBook.class);
    private final List<Order> orders;
    public OrderBook(List<Order> orders) {
        this.orders = orders;
    }

    /** The first order of a customer, if there is one. */
    public Optional<Order> first(String customer) {
        for (Order order : orders) {
            if (order.isOf(customer)) {
                return Optional.of(order);
            }
        }
        return Optional.empty();
    }

    // Called by the container only.
    @Override
    void close() throws IOException {
        try {
            flush();
        } finally {
            orders.forEach(Order::close);
        }
    }

    enum State { OPEN, CLOSED }
}
