class Job
  if true
    private
    def a; end
  end
  def b; end
  private if false
  def c; end
end
