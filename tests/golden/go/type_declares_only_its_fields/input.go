package shop

type Order struct {
	ID, Number int
	Total      Money
	Customer
	*Address
}

type Stock interface {
	Add(n int)
}

type (
	Money int
	Names []string
)

func (o *Order) Save() {}
func Open() {}
