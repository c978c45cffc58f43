/* The database lock as DatabaseLock.cpp takes it, and the cold restart as WarmDatabase.cpp handles it.
   Change the code and this model together. Every store to shared state is a step, and a process may
   be killed before each step. tests/model/check lists the runs. A run finds each way in which two
   processes hold the lock at once, use different semaphores, use the area before it is cleared, clear
   it while it is in use, raise a semaphore above 1, or wait for ever ("invalid end state").

     PROCESSES: number of processes that use the record; the first of them may lack the device.
     DEATHS: how many of them may be killed in a run.
     SEMAPHORES: how many semaphores can be created; after that, creating one fails.
     FAILURES: how often sem_open may fail for another reason.
     STRANGER: 1, one more process uses only the semaphore; 2, it also creates a missing one.
     FAULT: a planted fault. 1, the record's number is never written. 2, the number is not 0 while a
       semaphore is created. 3, nobody changes to a newer semaphore. 4, a creator does not note a cold
       restart as pending. 5, nobody notes it as handled if a stranger's semaphore is free. 6, a
       creator does not look for the name again.

   The model promises nothing after a process has presumed too much. It presumes too much if it adopts
   a semaphore that the stranger held through all of its tries. It also does if it clears the area
   without holding the semaphore that the stranger created, because it could not open that one or has
   an older one. Processes that start after the stranger has ended, or that never had its semaphore,
   do not know that it cleared the area. The lock excludes the stranger only from processes with the
   same semaphore, not from those with an older one or with the mutex alone. A process that has no
   semaphore does not handle a restart that nobody has noted: it may use the area before it is cleared.
   Threads, and the mutex that guards handles within a process, are not modelled. */
mtype = { Away, Moving, Holding };
mtype = { Unasked, Pending, Handled };

mtype progress = Away, restart = Unasked; /* the run record */
byte number, mutex;                       /* the mutex: its owner, or 0 */
byte name, made, value[SEMAPHORES + 1];   /* name: the semaphore that has it, or 0 */
byte inside, with;                        /* the process that holds the lock, and its semaphore */
byte held, strange;                       /* the semaphores that the stranger holds, and created */
bool dead[PROCESSES + 1], cleared, used, presumed;
byte failures = FAILURES, deaths = DEATHS;

inline create() { made++; name = made }
inline post(s)  { value[s]++; assert(value[s] <= 1 || presumed) }

inline open() { /* mine is also the number of a semaphore that cannot be opened */
    atomic { if :: semaphore = name; failed = false
                :: failures > 0 -> failures--; semaphore = 0; failed = true fi; mine = name } }

inline note(n, p) {
    progress = Moving;
    if :: FAULT != 1 && (FAULT != 2 || n != 0) -> number = n :: else fi;
    progress = p }

inline give() {
    if :: holds -> progress = Moving;
                   atomic { if :: value[semaphore] == 0 -> post(semaphore) :: else fi };
                   progress = Away; holds = false
       :: else fi;
    mutex = 0 }

inline handle() { /* by a process that holds the lock and knows that the restart was a cold one */
    atomic { if :: device && restart != Handled ->
                   presumed = presumed || (strange != 0 && semaphore != strange);
                   assert(!used || presumed); cleared = true
                :: else fi };
    if :: device -> restart = Handled :: else fi }

inline restore() { restart = leftRestart; note(leftNumber, left) }

proctype Process(byte me) {
    byte semaphore, mine, leftNumber; mtype left = Away, leftRestart = Unasked;
    bool failed, holds, maker, device, asked, done;
    {
        if :: device = true :: me == 1 -> device = false fi;

start:  open();
        if :: failed || mine != 0 -> failed = false; goto work
           :: else
        fi;
        atomic { mutex == 0 -> mutex = me };
        if :: name != 0 && FAULT != 6 -> mutex = 0; goto start :: else fi;
        atomic { left = progress; leftNumber = number; leftRestart = restart };
        note(0, Moving);
        if :: restart == Unasked && FAULT != 4 -> restart = Pending :: else fi;
        if :: atomic { name == 0 && made < SEMAPHORES -> create(); semaphore = made; mine = made };
              note(mine, Holding); holds = true; maker = true; handle(); give()
           :: name != 0 -> restore(); mutex = 0; goto start
           :: atomic { name == 0 && (made == SEMAPHORES || failures > 0) ->
                       if :: made < SEMAPHORES -> failures-- :: else fi };
              restore(); mutex = 0
           :: atomic { failures > 0 && name == 0 && made < SEMAPHORES ->
                       failures--; create(); mine = made };
              mutex = 0 /* no memory for the handle, but the semaphore exists */
        fi;

work:   do :: done -> break
           :: !done ->
              atomic { mutex == 0 -> mutex = me };
              if :: number != mine && FAULT != 3 ->
                    open();
                    if :: semaphore == 0 -> mine = number
                       :: semaphore != 0 && number != 0 && number != mine -> note(0, Away)
                       :: else fi
                 :: else fi;
              left = progress;
              do :: semaphore == 0 -> break
                 :: semaphore != 0 && (left == Holding || holds) ->
                    if :: FAULT != 1 -> number = mine :: else fi;
                    progress = Holding; holds = true; break
                 :: semaphore != 0 && left != Holding && !holds ->
                    if :: number != mine && value[semaphore] == 0 -> skip
                       :: else ->
                          if :: number != mine && FAULT != 5 -> restart = Handled :: else fi;
                          progress = Moving;
                          atomic { if :: value[semaphore] > 0 -> value[semaphore]--; holds = true
                                      :: else fi };
                          if :: !holds -> progress = left :: else fi
                    fi;
                    if :: holds || value[semaphore] > 0
                       :: atomic { !holds && left == Moving && value[semaphore] == 0 ->
                                   presumed = presumed || held == semaphore; holds = true }
                    fi
              od;
              if :: asked -> asked = false; handle(); give(); goto work
                 :: !asked && device && restart == Pending -> asked = true; give(); goto work
                 :: else fi;
              atomic { assert(inside == 0 && (!holds || semaphore == number));
                       inside = me; with = (holds -> semaphore : 0);
                       assert(presumed || !holds || held != semaphore);
                       if :: device && (holds || restart != Unasked) ->
                             assert(cleared || presumed); used = true :: else fi };
              inside = 0; done = true; give()
           :: break /* a process may end without using the database */
        od;
        if :: maker -> atomic { if :: name == mine -> name = 0 :: else fi } :: else fi
    } unless { dead[me] };
    atomic { semaphore = 0; mine = 0; leftNumber = 0; left = Away; leftRestart = Unasked; failed = false;
             holds = false; maker = false; device = false; asked = false; done = false } /* fewer states */
}

proctype Stranger() {
    byte semaphore, uses; bool maker;
    do :: uses < 2 -> uses++;
end:      if :: atomic { name != 0 -> semaphore = name }
             :: semaphore != 0 -> skip
             :: atomic { STRANGER == 2 && name == 0 && made < SEMAPHORES -> create();
                         semaphore = made; held = made; strange = made; maker = true };
                atomic { cleared = true; used = true }; goto leave
          fi;
endWait:  atomic { value[semaphore] > 0 -> value[semaphore]--; held = semaphore;
                   assert(presumed || inside == 0 || with != semaphore) };
leave:    atomic { held = 0; post(semaphore) }
       :: if :: maker -> atomic { name = 0; used = used && restart == Handled } :: else fi; break
    od
}

init { byte i;
    atomic { for (i : 1 .. PROCESSES) { run Process(i) };
             if :: STRANGER > 0 -> run Stranger() :: else fi };
end: do :: deaths > 0 -> atomic { deaths--; select (i : 1 .. PROCESSES); dead[i] = true;
            if :: mutex == i -> mutex = 0 :: else fi; if :: inside == i -> inside = 0 :: else fi } od }
