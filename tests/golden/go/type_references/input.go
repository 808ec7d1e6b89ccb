package p

type A struct {
	B
	c pkg.D
	e map[F]*G
	h List[I]
}

func (a *A) f(b J) (K, error) { return K{}, nil }
