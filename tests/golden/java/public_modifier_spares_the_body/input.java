public class A { int s = f("ÿ"); }
