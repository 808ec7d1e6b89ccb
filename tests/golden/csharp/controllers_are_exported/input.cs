public class Open { }
internal class Closed { }
class Plain { }
[ApiController]
internal class FooController { }
[RoutePrefix("x")]
class Prefixed { }
[Serializable, HttpGet]
class Listed
{
    [HttpPost] private void Post() { }
    private void Hidden() { }
    [Obsolete] private void Old() { }
    [HttpGetAttribute] private void Full() { }
    protected internal void Inner() { }
    public int Size { get; set; }
}
