# Two rows above the next accepted one.
#!skipped
# Accepted.
def f; end
