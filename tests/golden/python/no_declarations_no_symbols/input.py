"""A module is the root, and the root declares nothing."""
x = 1
for y in [x]:
    del y
