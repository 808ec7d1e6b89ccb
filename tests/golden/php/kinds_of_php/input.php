<?php
namespace App\Shop;

const LIMIT = 1;
interface Stock { function add(int $n); }
trait Counts { private $n = 0; public function count() {} }
enum Color: string { case Red = 'r'; public function label() {} }
final class Order implements Stock {
    use Counts;
    const TAX = 1;
    public $total;
    public function __construct(private int $id) {}
    public function add(int $n) { $f = function () {}; $g = fn($x) => $x; }
}
function helper() { return new class { function inside() {} }; }
