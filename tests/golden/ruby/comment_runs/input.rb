#!/usr/bin/env ruby
# -*- coding: utf-8 -*-
# Two rows below the first.
def first; end

# Lower block ends here,

# and only this counts.


def second; end

# Of a class.
class Job
  # First in the body.
  def run; end
  # Of another.
  #
  ## Two hashes.
  def stop; end # beside it
  def last; end
end

=begin
Block.
=end
def third; end

# Of a module.
module Shop
end
