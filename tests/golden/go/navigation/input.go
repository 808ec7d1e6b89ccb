// Package queue hands out jobs.
package queue

import (
	"context"
	. "math"
	"net/http"

	_ "embed"
	"example.org/api/v1"
	"example.org/check.v1"
	"example.org/yaml/v3"
	pb "example.org/queue/api"
)

// Kind tells jobs apart.
type Kind int

// Kinds of jobs.
const (
	// Plain has no deadline.
	Plain Kind = iota
	Timed, urgent
)

var _ Runner = (*Queue[int])(nil)

// ErrEmpty tells that there is nothing to do.
var ErrEmpty, errClosed = yaml.NewError("empty"), error(nil)

// Far from what it stands above.

type (
	// Runner runs jobs.
	//
	//go:generate stringer
	// One at a time.
	Runner interface {
		// Run runs one.
		Run(ctx context.Context, job *Job) error
		http.Handler
		~int | Named
	}

	Handler func(w http.ResponseWriter) (Status, error)
	Old     = Job
)

// Queue is a list of jobs.
type Queue[T comparable] struct { // guarded
	jobs, done []*Job // in order
	// ByName finds a job.
	ByName map[string]pb.Item[T]
	*Options
	http.Client
}

/* Push puts a job at the end. */
func (q *Queue[T]) Push(job Job, more ...Extra) {
	q.jobs = append(q.jobs, &job)
	type entry struct{ At Time }
	const size = 3
	switch v := job.any().(type) {
	case *Timer, pb.Alarm:
		v.Stop()
	}
}

//go:noinline
func (q Queue[T]) next() (job *Job, ok bool) {
	defer q.mutex.Unlock()
	go func() { (q.watch)(Floor(2)) }()
	handler, ok := q.jobs[0].(Handler)
	found := slices.Index[Job](q.jobs, Job{Kind: Kind(1)})
	return Map[Job, *pb.Item](found, make(chan Event)), handlers[1](new(Lock))
}

func Map[K Key, V any](pairs [4]Pair[K, V]) <-chan K { return nil }

var _, spare, _ = three()
var start = func() { type Local struct{ _ [0]func() } }

func _(q Queue[_]) {
	switch check((*Job)(nil), (*pb.Item)(raw)).(type) {
	case nil:
	}
}
