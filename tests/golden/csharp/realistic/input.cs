using System;
using System.Collections.Generic;

namespace Shop
{
    /// <summary>
    /// Answers requests for <see cref="Order"/>.
    /// </summary>
    [ApiController]
    internal class OrdersController : ControllerBase, IDisposable
    {
        private readonly IStore store;

        public OrdersController(IStore store)
        {
            this.store = store;
        }

        public int Count { get; set; }

        /// <summary>Finds one order.</summary>
        /// <param name="id">Its number.</param>
        [HttpGet("{id}")]
        private IActionResult Find(int id)
        {
            if (id < 0) throw new ArgumentException(nameof(id));
            var order = store.Find(id);
            return order == null ? NotFound() : this.Ok(order);
        }

        // Not an action.
        protected void Log(string text) => Console.WriteLine(text);

        void IDisposable.Dispose() { store.Close(); }
    }

    public enum State { Open, Closed }
}
