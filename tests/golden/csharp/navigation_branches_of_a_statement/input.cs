class Writer
{
    void Write(object value, bool late)
    {
        if (value is Date) { Early(); }
#if DATES
        else if (late) { Late(); }
#endif
        else { Never(); }
        switch (value)
        {
            case Code.Double: break;
#if DATES
            case Code.Offset: break;
#endif
        }
    }
}
