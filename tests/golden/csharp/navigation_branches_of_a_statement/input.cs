class Writer
{
    void Write(object value)
    {
        if (value is Date) { Early(); }
#if DATES
        else if (value is Offset) { Late(); }
#endif
        else { Never(); }
        switch (value)
        {
            case Code.Double: break;
#if DATES
            case Code.Offset: Write(value); break;
#endif
        }
    }
}
