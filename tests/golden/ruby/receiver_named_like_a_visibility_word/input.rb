class Job
  private.freeze
  def a; end
  public.x
  def b; end
  self.private
  def c; end
  private_class_method :x
  def d; end
  module_function
  def e; end
end
