class A {
    void f() {
        foo(x);
        obj.run();
        this.run();
        a.b.run();
        get().run();
        super.run();
        new Shape().draw();
        List.of(1);
        Runnable r = obj::run;
    }
}
