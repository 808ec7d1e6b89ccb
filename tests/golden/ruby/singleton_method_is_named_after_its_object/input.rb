class Job
  def self.build; end
  def Job.create; end
  def job.run; end
  def Job.destroy; end
end
