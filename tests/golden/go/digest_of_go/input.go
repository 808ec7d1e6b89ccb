package p

func Serve() {
	defer stop()
	go run()
	select {
	case <-done:
		break
	}
	goto end
end:
}
