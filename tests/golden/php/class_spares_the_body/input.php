<?php
class Spared { public $x = "ÿ"; }
