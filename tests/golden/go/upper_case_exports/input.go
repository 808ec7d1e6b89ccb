package p

type T struct {
	Name  string
	count int
	Éa    int
	名     int
}

func Parse() {}
func parse() {}
func _X()    {}
func (c *T) Load() {}
func (c *T) load() {}
func ǅz() {}
