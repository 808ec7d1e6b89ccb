<?php

namespace Library;

use Library\Storage\Cards;

require_once 'bootstrap.php';

/**
 * The desk at which books are lent and given back.
 */
final class Desk implements Opens
{
    private array $open = [];

    public function __construct(private Cards $cards) {}

    /** Lends a book to a member. */
    public function lend(string $book, int $member): bool
    {
        if (isset($this->open[$book])) {
            return false;
        }
        $this->open[$book] = $this->cards->write($member, $book);
        return true;
    }

    protected function close(): void
    {
        foreach ($this->open as $card) {
            $card->archive();
        }
    }
}

interface Opens
{
    public function lend(string $book, int $member): bool;
}
