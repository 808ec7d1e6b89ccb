class Order {
    private String title, text;
    int count;
    List<Item> items;
    java.util.Date date;
    Order[] children;
    public Customer customer = new Customer() { void anonymous() {} };
}
