# frozen_string_literal: true

require "json"
require_relative "../store"
load("shop.rb")
autoload :Cents, "shop/cents"

# All that is sold.
module Shop
  # How many there may be.
  LIMIT = 10 # articles
  Error = Class.new(StandardError)
  A, Money::B = 1, 2
  $older = nil
  alias $old $older

  # One article.
  class Base::Article < Store::Item # :nodoc:
    # Where it lies.
    attr_reader :shelf,
                :row
    attr_writer "cents"

    include Comparable, Shop::Named

    # not directly above

    def price(amount = Amount.new) = amount.to_i

    # The same.
    alias cost price
    alias :value :price
    alias_method :worth, :price
    define_method(:dear?) { price > LIMIT }
    define_method("very_#{name}") { nil }

    # Makes one.
    # rubocop:disable Metrics
    def self.make(label, &block)
      parsed = JSON.parse(label)&.fetch(:name)
      raise Error, "nameless" if parsed.nil?
      yield(parsed)
      super
    rescue JSON::ParserError, Timeout => error
      log(error)
    end

    class << self
      # Within the singleton.
      def build; end

      private

      def forge; end
    end

    private

    attr_accessor :secret
    def hidden; end
    def self.seen; end
    HIDDEN = 1
    SEEN = 2
    class Inner; end
    private_constant :HIDDEN, :Inner
    private_class_method :make, :none

    public

    # Shown, and hidden below.
    def late; end
    def later; end
    private def at_once; end
    private attr_reader :alone
    private_class_method def self.lonely; end
    private :late, "later"
    def shown; end
    protected
    def guarded; end
    public :guarded
  end

  module_function

  def helper(value)
    case value
    when Integer, LIMIT then 1
    in Point(x:) | Coordinate then 2
    in { at: Pair => pair } then pair.is_a?(Base::Pair) && Last === pair
    in [First, *] then 3
    end
  end
end

Point = Struct.new(:x, :y) do
  # From the origin.
  def distance; end
end

Named = Module.new do
  private
  def name; end
end

class ::Top < Data.define(:id); end

def Top.other; end

require "parts/#{name}" unless heavy?
[ready?, { at: save! }].each { done? ? stop! : !open? }

##
# With two signs.
def Top.marked; end
