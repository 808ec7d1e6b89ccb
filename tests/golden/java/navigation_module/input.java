import shop.Marked;

/** All of the shop. */
@Marked
open module com.shop {
    requires transitive java.sql;
    requires tools;
    exports com.shop.stock to com.bank;
    opens com.shop.web;
    uses com.shop.Till;
    provides com.shop.Till with com.shop.Fast, Slow;
}
