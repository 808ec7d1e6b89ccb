extern alias Old;
global using System;
using System.Collections.Generic;
using static System.Math;
using Api = Shop.Web.Api;
using Names = List<Name>;
using Rows = Shop.Tables.Row<Cell>;
[assembly: Guid("0")]

namespace Shop.Stock
{
    /// <summary>Turns one into another.</summary>
    public delegate TOut Turn<in TIn, out TOut>(TIn one) where TIn : Item, new() where TOut : class;

    /// <summary>One person.</summary>
    public record Person(string Name, [property: Json("age")] Age Age, params Pet[] Pets) : Being(Name), INamed<Tag>
    {
        public int Size { get; init; } = Measure();
    }
    internal record struct Pair : IPair;

    [Flags]
    public enum Color : byte
    {
        Red,
        /// <summary>As grass is.</summary>
        [Mark] Green = 2,
#if BLUE
        Blue,
#endif
    }

    /** <summary>Where any <typeparamref name="T"/> lies.</summary>
     *  <exception cref="LostException">When count < 0.</exception> */
    //// No documentation.
    /*** Nor this. ***/
    internal interface IShelf<out T> : IPlace<T> where T : struct
    {
        int Count { get; }
        event Handler Moved;
        void Add(Item item);
        private void Hide() { }
    }

    /// <summary>Holds items.</summary>
    public abstract partial class Shelf<T>(int depth) : Place<T>(depth), IDisposable where T : unmanaged, IComparable<T>
    {
        /// <summary>Both.</summary>
        public const int Low = 1, High = 2;
        private static readonly Item First = new(1);
        protected internal Item? last, lost;
        public event EventHandler<Moved> Moved, Lost;
        public event Handler Closed { add { Listen(); } remove { } }
        static Shelf() { }
        public Shelf(string name) : base(name) { }
        public Shelf() : this("new") { }
        ~Shelf() { Close(); }
        public static bool operator ==(Shelf<T> a, Shelf<T> b) => true;
        public static implicit operator Item(Shelf<T> shelf) => shelf.last;
        public static explicit operator int(Shelf<T> shelf) => 1;
        public static explicit operator Shop.Rack<T>(Shelf<T> shelf) => null;
        public Item this[string name] { get => Find(name); }
        void IDisposable.Dispose() { }
        #region Search
        /// <summary>Behind a region.</summary>
        [Pure] [return: NotNull]
        public async Task<Item?> Find<TKey>(ref TKey key, out Box box, params Item[] more) where TKey : Key
        {
            int local = 3; Log(key is Shop.Rope ? one : two, key is not Shop.Cord); var kept = key is Shop.Bag.Loop && one || key is not Shop.Wire && two;
            Item* pointer = null;
            (Left a, Right) pair = (1, 2);
            bool Fits(Item item) => Deep(local * item);
            if (pair is Round or Flat && key is not Hard && key is Door d && key is { Lock: Bolt }) { }
            if (key is Shop.Hook && a || key is Latch && b && key is Shop.Key) { } var board = key as Board; board?.Cut(); board?.Edge.Saw(); board!.Plane(); (await Load()).Save();
            Make<Nail>(1); global::Shop.Till.Open(); base.Stop(); this.Go(); List<Screw>.Sort(); Shop.Tray<Bead>.Tip();
            var all = (Wood)key; Show(typeof(Box<>), nameof(key.Length), default(Glue), sizeof(Chip));
            foreach (Leg leg in legs) { }
            using (Reader reader = Read()) { }
            try { } catch (Shop.LostException e) when (Known(e)) { } catch (EndException) { }
            switch (key) { case Low: break; case Item item: break; case Color.Red: break; }
            var result = key switch { Tall => 1, Shop.Wide w => 2, _ => throw new Failure() };
            Func<Item, Box> pack = static (Paper paper) => paper.Fold();
            var found = from Row row in rows join Column column in columns on row.X equals column.Y select row.Z();
            if (int.TryParse(text, out Number number)) { }
            dynamic any = new Outer.Inner<Pin>(1) { Size = new Ruler[3] };
            Old::Item old; Cup<Tea>.Handle handle; delegate*<Ink, Pen> write; last += OnMoved;
        }
        #endregion
#if DEBUG
        /// <summary>Only when debugging.</summary>
        public void Dump() { }
#endif
    }
    namespace Inner { class Nested { } }
    class Rack
    {
        Shop.Slot<Peg>.Edge edge; /// No documentation of the next.
        int width;
    }
}
