/* One run of Async::JobControl against two concurrent cancels, as the C++ code does it: every event
 * reads the state, then tries its compare-exchange, and loops when another event moved first.
 * The action's Perform returns a job, returns none, or throws; its completion may come on any thread
 * at any time after Perform began (inside Perform or inside the job's Cancel too), and reports the
 * cancellation either honoured or ignored. Checked: exactly one finish, never a "State logic broken"
 * branch, the job's Cancel never after the job was released, the job released only after Running was
 * set, and a cancel left pending for the next run only when it never reached the job, the job ignored
 * it, or it came after the run had started finishing; no cancel lost; Perform never called after a
 * cancel that came before the run. */

#define BEGIN 0
#define WAIT_COMPLETED 1
#define WAIT_PERFORM 2
#define CS_WAIT_ALL 3
#define CS_WAIT_COMPLETED 4
#define CS_WAIT_PERFORM 5
#define CANCELLING_AFTER_PERFORM 6
#define CANCELLING_AFTER_PERFORM_COMPLETED 7
#define CANCELLING 8
#define CANCELLING_COMPLETED 9
#define FINISHING 10

#define RETURNS_JOB 0
#define RETURNS_NONE 1
#define THROWS 2

byte state = BEGIN;
byte kind;
bool performStarted = false;
bool runningSet = false;
bool hasJob = false;
bool jobReleased = false;
bool honoured;          /* the completion reports the cancellation as honoured */
byte finishes = 0;
bool cancelKeptBySync = false;
bool lateCancel = false;
bool delivered = false;   /* the cancellation reached the job, or stopped the run before Perform */
bool runStarted = false;
bool cancelBeforeRun = false;
byte cancels = 0;
bool runnerDone = false;
bool completerDone = false;
byte cancellersDone = 0;

#define allowed(f, t) ( \
    (f == 0 && (t == 1 || t == 2 || t == 3 || t == 10)) || (f == 1 && (t == 8 || t == 10)) || \
    (f == 2 && (t == 5 || t == 10)) || (f == 3 && (t == 4 || t == 5 || t == 6 || t == 10)) || \
    (f == 4 && (t == 3 || t == 10)) || (f == 5 && (t == 3 || t == 10)) || \
    (f == 6 && (t == 4 || t == 7)) || (f == 7 && (t == 3 || t == 10)) || \
    (f == 8 && (t == 4 || t == 9)) || (f == 9 && (t == 3 || t == 10)) || \
    (f == 10 && (t == 0 || t == 3)))

inline transit(f, t, ok)
{
    assert(allowed(f, t));
    atomic { if :: state == f -> state = t; ok = true :: else -> ok = false fi }
}

inline syncTarget(t)
{
    if
    :: honoured -> t = FINISHING; delivered = true
    :: else -> t = CS_WAIT_ALL; cancelKeptBySync = true
    fi
}

inline finishRun()
{
    atomic { finishes++; assert(finishes == 1) }
    transit(FINISHING, BEGIN, ok);
    if
    :: !ok -> assert(state == CS_WAIT_ALL)
    :: else -> skip
    fi;
    assert(runningSet || !performStarted || kind == THROWS);
    jobReleased = true
}

inline cancelRunning()
{
    if
    :: hasJob -> assert(!jobReleased); delivered = true
    :: else -> skip
    fi
}

proctype Runner()
{
    bool ok;
    byte s, t;
    atomic { s = state; runStarted = true };
    if
    :: s == CS_WAIT_ALL ->
        transit(CS_WAIT_ALL, FINISHING, ok);
        assert(ok);
        delivered = true;
        finishRun();
        goto done
    :: else -> skip
    fi;
    assert(!cancelBeforeRun);
    performStarted = true;
    hasJob = (kind == RETURNS_JOB);
    runningSet = true;
    if
    :: kind == THROWS ->
        do
        :: s = state;
           if
           :: s == BEGIN || s == WAIT_PERFORM || s == CS_WAIT_ALL ->
               transit(s, FINISHING, ok);
               /* A failed Perform ends the run, and a pending cancel with it. */
               if :: ok -> delivered = delivered || s == CS_WAIT_ALL; finishRun(); break :: else -> skip fi
           :: s == CS_WAIT_PERFORM || s == CANCELLING_AFTER_PERFORM_COMPLETED ->
               transit(s, FINISHING, ok); assert(ok); delivered = true; finishRun(); break
           :: s == FINISHING -> (state != FINISHING)
           :: else -> assert(false)
           fi
        od
    :: else ->
        do
        :: s = state;
           if
           :: s == BEGIN -> transit(BEGIN, WAIT_COMPLETED, ok); if :: ok -> break :: else -> skip fi
           :: s == WAIT_PERFORM -> transit(WAIT_PERFORM, FINISHING, ok); if :: ok -> finishRun(); break :: else -> skip fi
           :: s == CS_WAIT_ALL ->
               if
               :: !hasJob -> transit(CS_WAIT_ALL, CS_WAIT_COMPLETED, ok); if :: ok -> break :: else -> skip fi
               :: else -> transit(CS_WAIT_ALL, CANCELLING_AFTER_PERFORM, ok); if :: ok -> cancelRunning() :: else -> skip fi
               fi
           :: s == CS_WAIT_PERFORM -> transit(CS_WAIT_PERFORM, CS_WAIT_ALL, ok); assert(ok); finishRun(); break
           :: s == CANCELLING_AFTER_PERFORM -> transit(CANCELLING_AFTER_PERFORM, CS_WAIT_COMPLETED, ok); if :: ok -> break :: else -> skip fi
           :: s == CANCELLING_AFTER_PERFORM_COMPLETED -> syncTarget(t); transit(CANCELLING_AFTER_PERFORM_COMPLETED, t, ok); assert(ok); finishRun(); break
           :: s == FINISHING -> (state != FINISHING)
           :: else -> assert(false)
           fi
        od
    fi;
done:
    runnerDone = true
}

proctype Completer()
{
    bool ok;
    byte s, t;
end:
    (performStarted && kind != THROWS);
    do
    :: s = state;
       if
       :: s == BEGIN -> transit(BEGIN, WAIT_PERFORM, ok); if :: ok -> break :: else -> skip fi
       :: s == WAIT_COMPLETED -> transit(WAIT_COMPLETED, FINISHING, ok); if :: ok -> finishRun(); break :: else -> skip fi
       :: s == CS_WAIT_ALL -> transit(CS_WAIT_ALL, CS_WAIT_PERFORM, ok); if :: ok -> break :: else -> skip fi
       :: s == CS_WAIT_COMPLETED -> syncTarget(t); transit(CS_WAIT_COMPLETED, t, ok); assert(ok); finishRun(); break
       :: s == CANCELLING_AFTER_PERFORM -> transit(CANCELLING_AFTER_PERFORM, CANCELLING_AFTER_PERFORM_COMPLETED, ok); if :: ok -> break :: else -> skip fi
       :: s == CANCELLING -> transit(CANCELLING, CANCELLING_COMPLETED, ok); if :: ok -> break :: else -> skip fi
       :: s == FINISHING -> (state != FINISHING)
       :: else -> assert(false)
       fi
    od;
    completerDone = true
}

proctype Canceller()
{
    bool ok;
    byte s, t;
    cancels++;
    do
    :: s = state;
       if
       :: s == BEGIN -> transit(BEGIN, CS_WAIT_ALL, ok);
           if
           :: ok -> atomic { lateCancel = lateCancel || finishes > 0; cancelBeforeRun = cancelBeforeRun || !runStarted }; break
           :: else -> skip
           fi
       :: s == WAIT_COMPLETED -> transit(WAIT_COMPLETED, CANCELLING, ok);
           if
           :: ok ->
               cancelRunning();
               /* Leaving 8 or 9 is this canceller's alone. */
               s = state;
               if
               :: s == CANCELLING -> transit(CANCELLING, CS_WAIT_COMPLETED, ok);
                   if
                   :: ok -> skip
                   :: else -> syncTarget(t); transit(CANCELLING_COMPLETED, t, ok); assert(ok); finishRun()
                   fi
               :: s == CANCELLING_COMPLETED -> syncTarget(t); transit(CANCELLING_COMPLETED, t, ok); assert(ok); finishRun()
               :: else -> assert(false)
               fi;
               break
           :: else -> skip
           fi
       :: s == WAIT_PERFORM -> transit(WAIT_PERFORM, CS_WAIT_PERFORM, ok); if :: ok -> break :: else -> skip fi
       :: s == FINISHING -> transit(FINISHING, CS_WAIT_ALL, ok); if :: ok -> lateCancel = true; break :: else -> skip fi
       :: else -> break
       fi
    od;
    cancellersDone++
}

init
{
    if
    :: kind = RETURNS_JOB
    :: kind = RETURNS_NONE
    :: kind = THROWS
    fi;
    if :: honoured = true :: honoured = false fi;
    atomic {
        run Runner();
        run Completer();
        run Canceller();
        run Canceller()
    }
    (runnerDone && cancellersDone == 2 && (completerDone || !(performStarted && kind != THROWS)));
    assert(finishes == 1);
    assert(state == BEGIN || cancelKeptBySync || lateCancel || !delivered);
    /* No cancel is lost: it reached the job or the run's result, or it waits for the next run. */
    assert(cancels == 0 || delivered || state == CS_WAIT_ALL)
}
