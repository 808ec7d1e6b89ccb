<?php
$this->transport->deliver($mail);
$a->b->c->d();
$a->b()->c();
$a?->b->c();
