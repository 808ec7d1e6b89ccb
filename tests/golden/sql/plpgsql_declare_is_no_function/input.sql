CREATE FUNCTION total() RETURNS int AS $$
DECLARE
  n int := 0;
BEGIN
  RETURN n;
END;
$$ LANGUAGE plpgsql;
