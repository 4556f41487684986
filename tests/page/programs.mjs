// What the tests of pages run, and how they wait for it.
import { spawn } from 'node:child_process';

export const DEADLINE = 30_000;

/// A process, and what it has printed.
export class Program {
  static all = [];
  output = '';
  errors = '';

  constructor(command, ...words) {
    this.child = spawn(command, words, { stdio: ['ignore', 'pipe', 'pipe'] });
    this.child.stdout.on('data', (data) => { this.output += data; });
    this.child.stderr.on('data', (data) => { this.errors += data; });
    this.ended = new Promise((resolve) => { this.child.once('close', (code, signal) => resolve(signal || code)); });
    Program.all.push(this);
  }

  end(signal = 'SIGTERM') {
    this.child.kill(signal);
    return this.ended;
  }
}

/// Waits until it gives something that is not false; what it throws meanwhile is thrown at the end.
export async function eventually(what, look) {
  const end = Date.now() + DEADLINE;
  for (;;) {
    let problem;
    try {
      const found = await look();
      if (found) return found;
    } catch (error) { problem = error; }
    if (Date.now() > end) {
      const said = Program.all.map((program) => (program.output + program.errors).slice(-400)).join('\n---\n');
      throw new Error(`${what}: not within ${DEADLINE / 1000} s; the programs said last:\n${said}`, { cause: problem });
    }
    await new Promise((resolve) => { setTimeout(resolve, 20); });
  }
}
