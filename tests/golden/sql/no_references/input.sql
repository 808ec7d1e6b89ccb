SELECT count(*) FROM orders WHERE f(id) = public.g(1);
