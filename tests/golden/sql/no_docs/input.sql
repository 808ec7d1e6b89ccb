-- Comment.
/** Block. */
CREATE TABLE t (id int);
