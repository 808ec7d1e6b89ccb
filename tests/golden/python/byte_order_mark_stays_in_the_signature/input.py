def first(): pass
def second(): pass
