def f():
    log("ÿâ‚")
    return 1
