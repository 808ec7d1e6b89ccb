package p

func f() {
	pkg.Func()
	obj.Method()
	foo()
	go run()
	make([]int, 3)
	int(x)
	func() {}()
	a[0](b)
	list[int](c)
	h := handler.Serve
}
