-- Customers and their orders.
CREATE TABLE shop.customers (
    id serial PRIMARY KEY,
    email text NOT NULL UNIQUE
);

CREATE TABLE orders (
    id serial PRIMARY KEY,
    customer_id int REFERENCES shop.customers (id),
    total numeric(10, 2) DEFAULT 0
);

CREATE INDEX orders_by_customer ON orders (customer_id);

CREATE VIEW open_orders AS
SELECT o.id, c.email
FROM orders o
JOIN shop.customers c ON c.id = o.customer_id
WHERE o.total > 0;

CREATE FUNCTION order_count(customer int) RETURNS bigint AS $$
    SELECT count(*) FROM orders WHERE customer_id = customer;
$$ LANGUAGE sql;

CREATE TRIGGER orders_changed
    AFTER UPDATE ON orders
    FOR EACH ROW EXECUTE FUNCTION notify_change();

INSERT INTO orders (customer_id, total) VALUES (1, 9.99);
