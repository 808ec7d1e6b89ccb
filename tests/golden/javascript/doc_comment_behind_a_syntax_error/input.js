/** Crossed. */
)
function broken() {}
