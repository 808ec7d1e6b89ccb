/** far */
/** near */
function two() {}

/** behind others */
// line
/* plain */

function behind() {}

/* plain */
function plain() {}

// line
function line() {}

/** before a statement */
let x;
function after() {}
