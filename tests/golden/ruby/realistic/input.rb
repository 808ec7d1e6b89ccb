# frozen_string_literal: true

require "json"

# Everything about deliveries.
module Delivery
  LIMIT = 10

  # One parcel on its way.
  # Weighs something.
  class Parcel < Base
    include Comparable
    attr_reader :weight

    # Makes a parcel from its label.
    def self.parse(label)
      data = JSON.parse(label)
      new(data.fetch("weight"))
    end

    def initialize(weight)
      @weight = weight
    end

    def <=>(other)
      weight <=> other.weight
    end
    def heavy?
      return true if weight > LIMIT
      stamps.any? { |stamp| stamp.heavy? }
    end

    private

    # Never empty.
    def stamps
      @stamps ||= load_stamps(self)
    end
  end
end
