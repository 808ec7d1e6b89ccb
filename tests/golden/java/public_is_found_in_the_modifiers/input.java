public class Shop {
    protected void hidden() {}
    void packaged() {}
    public static void main(String[] args) {}
    @Rule("public things") void annotated() {}
    @Publication void capital() {}
    public int count;
    public Money total;
    Money spent;
    public Shop() {}
}
class Packaged {}
interface Stock { void add(); public void take(); }
public enum Color { RED }
