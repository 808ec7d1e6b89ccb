class Job
  def helper; end
  private :helper
  def a; end
end

class Other
  private def helper; end
  def b; end
end

class Third
  private attr_reader :x
  def c; end
end
