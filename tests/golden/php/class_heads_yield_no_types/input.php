<?php
class A extends B implements C, D { public E $f; function g(H $i): J {} }
