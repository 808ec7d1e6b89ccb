class Job; private; def x; end; end
class Other; def y; end; private; def z; end; end
