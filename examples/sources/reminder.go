// Package reminder writes to members whose books are late.
package reminder

import (
	"fmt"
	"time"
)

// DaysOfGrace pass before the first letter.
const DaysOfGrace = 3

// Loan is a book in somebody's hands.
type Loan struct {
	Title  string
	Member string
	Due    time.Time
}

// Mailer sends one letter.
type Mailer interface {
	Send(to, text string) error
}

// Remind writes to everybody who is late and tells how many letters went out.
func Remind(loans []Loan, mailer Mailer, today time.Time) (int, error) {
	sent := 0
	for _, loan := range loans {
		if !isLate(loan, today) {
			continue
		}
		if err := mailer.Send(loan.Member, letter(loan)); err != nil {
			return sent, fmt.Errorf("reminder for %q: %w", loan.Title, err)
		}
		sent++
	}
	return sent, nil
}

func isLate(loan Loan, today time.Time) bool { return today.After(loan.Due.AddDate(0, 0, DaysOfGrace)) }
func letter(loan Loan) string                { return "Please bring back " + loan.Title }
