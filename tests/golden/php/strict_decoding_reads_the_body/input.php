<?php
class Spared { }
function f() { echo "ÿ"; }
