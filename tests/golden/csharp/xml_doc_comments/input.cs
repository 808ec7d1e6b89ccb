/// <summary>
/// Of a class, see <see cref="Other"/> and <c>code</c>.
/// </summary>
/// <remarks>More.</remarks>
// Ordinary.
/* Block. */
class Box
{
    /// <summary>Adds.</summary>
    /// <param name="n">How many.</param>
    /// <returns>The sum.</returns>
    /// a < b and c > d
    /// b > a < c
    ///
    public int Add(int n) { return n; }

    // Ordinary only.
    void None() { }

    /// Hidden behind a member.
    int size;
    void After() { }

    /// Above an attribute.
    [Obsolete]
    void Old() { }
}
