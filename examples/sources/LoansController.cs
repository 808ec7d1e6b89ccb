using System;
using System.Collections.Generic;
using System.Linq;

namespace Library
{
    /// <summary>
    /// Lends and takes back books at the desk.
    /// </summary>
    public class LoansController : Controller
    {
        private readonly Catalogue catalogue;

        public LoansController(Catalogue catalogue)
        {
            this.catalogue = catalogue;
        }

        public int OpenLoans { get; private set; }

        /// <summary>Lends one copy.</summary>
        [HttpPost("loans/{id}")]
        public void Lend(int id)
        {
            if (!catalogue.Has(id)) throw new ArgumentException(nameof(id));
            OpenLoans++;
            Log($"lent {id}");
        }

        private void Log(string text) => Console.WriteLine(text);
    }

    public interface ICatalogue
    {
        bool Has(int id);
    }

    public enum LoanState { Open, Late, Returned }
}
