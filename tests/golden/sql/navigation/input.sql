-- Holds the customers.
CREATE TABLE shop.customers (
  id serial PRIMARY KEY, -- the key
  -- Where they live.
  address shop.address NOT NULL,
  "Full Name" varchar(80) DEFAULT upper('x'),
  plan_id int REFERENCES plans (id),
  CONSTRAINT pk PRIMARY KEY (id),
  KEY idx_plan (plan_id)
);

CREATE SCHEMA IF NOT EXISTS shop;
CREATE DATABASE wares;
CREATE ROLE reader WITH LOGIN;
CREATE EXTENSION IF NOT EXISTS hstore;
CREATE SEQUENCE shop.ids AS whole START 1 OWNED BY customers.id;
CREATE TYPE mood AS ENUM ('sad', 'ok');
CREATE TYPE shop.address AS (street text, zip postcode);
CREATE UNIQUE INDEX IF NOT EXISTS `by_name` ON shop.customers ("Full Name");

/* Those who pay. */
CREATE OR REPLACE VIEW payers AS
SELECT c.*, count(*) FROM customers AS c
JOIN orders o ON o.cid = c.id
LEFT JOIN shop.plans USING (id);

CREATE MATERIALIZED VIEW totals AS
SELECT x::mood, CAST(y AS price) FROM payers;

CREATE FUNCTION shop.total(c shop.customers, integer) RETURNS SETOF mood
AS $$ SELECT sum(x) FROM orders; $$ LANGUAGE sql;

CREATE FUNCTION listed() RETURNS TABLE (a int, b mood) AS $$
BEGIN
  INSERT INTO logs (a) VALUES (now());
  RETURN 1;
END;
$$ LANGUAGE plpgsql;

CREATE TRIGGER audit AFTER INSERT ON shop.customers
FOR EACH ROW EXECUTE FUNCTION shop.log_it(1);

ALTER TABLE ONLY shop.customers
  ADD COLUMN zip postcode,
  ADD CONSTRAINT fk FOREIGN KEY (a) REFERENCES towns (id),
  ALTER COLUMN zip TYPE code,
  RENAME COLUMN a TO b;
ALTER TABLE old_name RENAME TO new_name;

DROP TABLE IF EXISTS gone;
INSERT INTO t1 SELECT * FROM t2;
UPDATE t3 SET a = coalesce(b, 1);
DELETE FROM t4 WHERE EXISTS (SELECT 1 FROM t5);
TRUNCATE t6;
COMMENT ON TABLE customers IS 'who buys';
WITH w AS (SELECT 1) SELECT lower(a) FROM w, (VALUES (1)) v, listed() g;
