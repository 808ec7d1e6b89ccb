class Text:
    """
    First line.

        Indented \n by four.
    Last line.  
    """
