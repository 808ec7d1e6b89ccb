class A { String s = "ÿ"; }
