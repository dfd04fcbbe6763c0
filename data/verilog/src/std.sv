// The built-in package std of SystemVerilog (IEEE 1800-2017, clauses 9.7 and 15):
// the classes process, semaphore and mailbox and the randomize helpers. Written for
// this product. A scanner needs the declarations that designs name; the bodies only
// keep the simple bookkeeping a reader would expect and never block.

package std;

  // Fine-grain process control (clause 9.7).
  class process;
    typedef enum { FINISHED, RUNNING, WAITING, SUSPENDED, KILLED } state;

    protected state current = RUNNING;

    static function process self();
      process p = new;
      return p;
    endfunction

    function state status();
      return current;
    endfunction

    function void kill();
      current = KILLED;
    endfunction

    task await();
    endtask

    function void suspend();
      current = SUSPENDED;
    endfunction

    function void resume();
      current = RUNNING;
    endfunction

    function void srandom(int seed);
    endfunction

    function string get_randstate();
      return "";
    endfunction

    function void set_randstate(string state);
    endfunction
  endclass

  // Counting semaphore (clause 15.3).
  class semaphore;
    protected int keys;

    function new(int keyCount = 0);
      keys = keyCount;
    endfunction

    function void put(int keyCount = 1);
      keys += keyCount;
    endfunction

    task get(int keyCount = 1);
      keys -= keyCount;
    endtask

    function int try_get(int keyCount = 1);
      if (keys < keyCount) return 0;
      keys -= keyCount;
      return 1;
    endfunction
  endclass

  // Message queue between processes (clause 15.4). Parameterised mailboxes are
  // declared as mailbox #(type).
  class mailbox #(type T = int);
    protected int bound;
    protected T items[$];

    function new(int bound = 0);
      this.bound = bound;
    endfunction

    function int num();
      return items.size();
    endfunction

    task put(T message);
      items.push_back(message);
    endtask

    function int try_put(T message);
      if (bound > 0 && items.size() >= bound) return 0;
      items.push_back(message);
      return 1;
    endfunction

    task get(ref T message);
      message = items.pop_front();
    endtask

    function int try_get(ref T message);
      if (items.size() == 0) return 0;
      message = items.pop_front();
      return 1;
    endfunction

    task peek(ref T message);
      message = items[0];
    endtask

    function int try_peek(ref T message);
      if (items.size() == 0) return 0;
      message = items[0];
      return 1;
    endfunction
  endclass

endpackage : std
