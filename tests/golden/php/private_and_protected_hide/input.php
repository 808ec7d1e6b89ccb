<?php
function helper() {}
abstract class Order {
    private function a() {}
    protected static function b() {}
    public function c() {}
    function d() {}
    abstract protected function e();
    final function f() {}
}
interface Stock { public function add(); }
trait Counts {}
enum Color {}
