def a; end
private
def b; end
module Shop
  def c; end
end
if true
  def d; end
end
public
def e; end
