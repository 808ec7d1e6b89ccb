// Package queue hands out jobs.
package queue

import (
	"context"
	"errors"
)

// ErrEmpty tells that there is nothing to do.
var ErrEmpty = errors.New("empty")

// Job is one piece of work.
type Job struct {
	ID   int
	run  func(context.Context) error
	tags map[string]Tag
}

type Runner interface {
	Run(ctx context.Context) error
}

// Push puts a job at the end.
//
// It never blocks.
func (q *Queue) Push(job Job) {
	q.jobs = append(q.jobs, job)
}

func (q *Queue) next() (*Job, error) {
	if len(q.jobs) == 0 {
		return nil, ErrEmpty
	}
	defer q.mutex.Unlock()
	job := newJob(q.jobs[0])
	go watch(job)
	return job, nil
}

func New() *Queue { return &Queue{} }
