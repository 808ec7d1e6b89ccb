def f():
    """aÿbâ‚cğŸ˜"""
