<?php
declare(strict_types=1);

namespace Shop\Orders;

use Countable;
use Shop\Base, Shop\Tools as T;
use Shop\Models\{User, Sub\Role as R};
use function Shop\helper;

require_once __DIR__ . '/boot.php';
require("settings.php");
include $dir . '/' . $file;
include "parts/$page.php";

/** The name of the shop. */
define('SHOP', 'corner');
const FIRST = 1, SECOND = 2;

/** An order of wares. */
#[Entity(repository: OrderRepository::class)]
final class Order extends Base implements Countable, Json\Printable
{
    use Logs, Times { Times::log insteadof Logs; log as protected writeLog; }

    /** How many there may be. */
    public const int MAX = 3;
    private static ?Pool $pool = null, $spare;
    public private(set) string|Label $label;

    /** Takes what was ordered. */
    public function __construct(private readonly int $id, protected Cart $cart = new Cart())
    {
        parent::__construct($id);
    }

    public function run(callable $then, User &...$users): static
    {
        $this->label = $this->cart?->load(1)->label();
        $then(1);
        $this->$method(2);
        (clone $this->pool)->close(...);
        ($this->after)(\strlen(SHOP), namespace\total($users));
        $guest = new class(1) extends User {
            protected $name;
            function greet() { return new self; }
        };
        if ($guest instanceof Model\Guest || $guest instanceof $method) {
            return static::from(Status::Open, self::MAX, T\Printer::$last);
        }
        try {
            return array_map(fn(Item $item): ?Price => new $item, $users);
        } catch (NotFound | \Shop\Broken $error) {
            function rescue() {}
        }
    }

    abstract protected function close(): never;
}

enum Status: string implements HasLabel
{
    case Open = 'o';
    const Usual = self::Open;

    public function label(): string { return ucfirst($this->value); }
}

trait Logs
{
    abstract private function log($message);
}

interface Printable
{
    public function print(int ...$copies): void;
}

namespace Shop\Stock;

// Ordinary comments are no documentation.
function &shelf(): Shelf {}

/** Passed over. */
#[Pure]
/** Behind the attribute. */
function bare() {}
spl_autoload_register(fn($class) => require $class . '.php');
