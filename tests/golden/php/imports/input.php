<?php
use App\Shop\Order;
use App\{A, B as C};
include 'a.php';
include_once("b.php");
require SOME_FILE;
require_once name;
require $path;
