/** Of the package statement. */
package shop;

/**
 * Of a class.
 * @since 1.0
 */
@Entity
public class Order {
    /** Of no field. */
    Money total;

    // Line comment below it.
    /** Of a constructor. */
    public Order() {}

    /** Hidden. */
    ;
    void load() {}

    /* Plain. */
    void save() {}

    /** Of no enum. */
    enum State { OPEN }
}
