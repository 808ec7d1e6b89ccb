CREATE TABLE t (id int);
CREATE INDEX i ON t (id);
