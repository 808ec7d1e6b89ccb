# frozen_string_literal: true

require "date"

# What members have asked for.
module Reservations
  DAYS_ON_HOLD = 7

  # A book that somebody waits for.
  class Reservation
    include Comparable
    attr_reader :member, :book

    # Makes a reservation from a line of the old card index.
    def self.from_card(line)
      member, book = line.split(";")
      new(member, book)
    end

    def initialize(member, book, made_on = Date.today)
      @member = member
      @book = book
      @made_on = made_on
    end

    def expired?(today)
      today > @made_on + DAYS_ON_HOLD
    end

    private

    # Older ones come first.
    def rank
      @made_on.jd
    end
  end
end
