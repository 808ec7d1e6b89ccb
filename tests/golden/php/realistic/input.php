<?php
namespace App\Mail;

use App\Support\Queue;

require_once CONFIG_FILE;

/**
 * Sends what others have written.
 */
final class Mailer extends Base implements Sender
{
    use LogsErrors;
    private int $sent = 0;
    public ?Queue $queue;

    public function __construct(private Transport $transport) {}

    /** Sends one mail. */
    public function send(Mail $mail): bool
    {
        foreach ($mail->recipients() as $recipient) {
            if (!$this->transport->deliver($recipient, $mail->body)) {
                return false;
            }
        }
        $this->sent++;
        return true;
    }

    protected static function boot() { parent::boot(); }
}

interface Sender
{
    public function send(Mail $mail): bool;
}

/** Shortens a text. */
function excerpt(string $text): string { return substr($text, 0, 80); }
