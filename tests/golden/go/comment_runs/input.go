// Package comment.
package shop

// First line.
//
//   Third line.
func Run() {}

// Far above,


// and near.
func Gap() {}

/*
 * Block.
 */
// Line.
/* */
func Mixed() {}

//
func Empty() {}

var x = 1 // beside a variable
func After() {}

//go:noinline
func Directive() {}
