// The bytes that a scanner may save as its state, for the scanners (scanner_prelude.h) and for the
// engine, which gives them a buffer of this size (engines/treesitter/guard_limits.h).
#pragma once

#define TREESITTER_ENGINE_SCANNER_STATE_BYTES (64 * 1024)
