module Shop
  class Order < Base
    TAX = 1
    attr_reader :total

    def initialize(total); end
    def total=(value); end
    def ==(other); end
    def empty?; end
    class << self
      def create; end
    end
    alias size total
    define_method(:late) { }
  end

  class Shop::Other; def inside; end; end
  Point = Struct.new(:x) do
    def norm; end
  end
end
