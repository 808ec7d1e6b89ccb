/** How often. */
int times = 2, most = 3;

void main() {
    int local = times;
    greet(local);
}

{ int started = 1; }
