-- Books, members and what connects them.
CREATE TABLE books (
    id serial PRIMARY KEY,
    title text NOT NULL,
    author text
);

CREATE TABLE members (
    id serial PRIMARY KEY,
    name text NOT NULL,
    joined date DEFAULT now()
);

CREATE TABLE loans (
    book int REFERENCES books (id),
    member int REFERENCES members (id),
    due date NOT NULL
);

CREATE INDEX loans_by_due ON loans (due);

CREATE VIEW late_loans AS
SELECT m.name, b.title, l.due
FROM loans l
JOIN books b ON b.id = l.book
JOIN members m ON m.id = l.member
WHERE l.due < now();

CREATE FUNCTION loans_of(someone int) RETURNS bigint AS $$
    SELECT count(*) FROM loans WHERE member = someone;
$$ LANGUAGE sql;
