puts x
obj.run
obj.run(1)
foo
foo()
self.run
Shop.open
Shop::Order.new(a)
@job.stop
a.b.c
require "json"
require_relative "x"
attr_reader :name
[1].each { |i| i.to_s }
yield x
super(x)
