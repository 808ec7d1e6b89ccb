class A
{
    void F()
    {
        Foo();
        obj.Run();
        this.Run();
        a.B.Run();
        Get().Run();
        Generic<int>();
        obj?.Run();
        new Shape();
        nameof(x);
        base.Run();
        handler += obj.OnClick;
    }
}
