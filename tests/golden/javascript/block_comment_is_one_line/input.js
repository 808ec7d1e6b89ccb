/** One line. */
function one() {}

/**
 * First paragraph,
 * second line.
 *
 * ** Second paragraph.
   no star
 *
 * @param {x} y - stays
 */
function many() {}

/***/
function empty() {}

/**
 *
 */
function blank() {}

/** a **/
function stars() {}
