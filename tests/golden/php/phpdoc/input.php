<?php
/** Of a function. */
function first() {}

# hash
/** Behind other comments. */
// line
function second() {}

/** Of a class. */
#[Entity]
final class Order
{
    /** Of a method. */
    public function save() {}

    /* Plain. */
    public function load() {}

    /** @var int Of no property. */
    public int $total;
}
