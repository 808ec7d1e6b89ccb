class Job
  def a; end
  private
  def b; end
  public
  def c; end
  protected
  def d; end
  def self.e; end
  class Inner
    def f; end
  end
end
