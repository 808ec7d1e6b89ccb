package p

import "fmt"
import (
	str "strings"
	. "math"
	_ "embed"
)
