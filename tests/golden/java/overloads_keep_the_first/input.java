class Printer {
    Printer() {}
    Printer(int width) { class Lost {} }
    void print(int value) {}
    void print(long value) { class LostToo {} }
}
