<?php
foo();
$f();
$obj->run();
$obj->a->b;
$this->field;
Shop::open();
new Order();
\App\foo();
namespace\bar();
$obj->run($x->y, [$z->w]);
$obj?->run();
