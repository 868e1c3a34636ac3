@0xd3b1f0a6c4e85297;

# The wire between the console and the agents. Values travel as one recursive union; operations are named by
# their selector, so the schema stays the same when operations are added.

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("wire");

struct Value {
  union {
    nothing @0 :Void;
    boolean @1 :Bool;
    integer @2 :Int64;
    real @3 :Float64;
    text @4 :Text;
    data @5 :Data;
    date @6 :Int64;            # milliseconds since 1970-01-01 UTC
    list @7 :List(Value);
    dictionary @8 :List(Entry);
  }

  struct Entry {
    key @0 :Text;
    value @1 :Value;
  }
}

struct Argument {
  union {
    value @0 :Value;           # by copy
    callback @1 :Callback;     # by reference: the callee calls back through it
  }
}

struct Outcome {
  # How an operation ended: with a value, or with an exception that keeps its name.
  union {
    value @0 :Value;
    exception @1 :Exception;
  }

  struct Exception {
    name @0 :Text;
    reason @1 :Text;
    userInfo @2 :Value;        # dictionary; "domain" and "code" of the agent's error, where it has one
  }
}

interface Callback {
  # An object of the caller. Oneway selectors are answered at once, before their work is done.
  perform @0 (selector :Text, arguments :List(Argument)) -> (outcome :Outcome);
}

interface Root {
  # The one object that an agent vends.
  respondsToSelector @0 (selector :Text) -> (responds :Bool);
  perform @1 (selector :Text, arguments :List(Argument)) -> (outcome :Outcome);
  heartbeat @2 () -> ();
  selectors @3 () -> (selectors :List(Text));  # all that it responds to; an older agent has no such answer
}
