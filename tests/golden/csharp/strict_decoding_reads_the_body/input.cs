public class Spared { }
class A { string s = "ÿ"; }
