// The rows of a matrix as far as the page has asked for them, in blocks. A block of an older
// revision is shown until the new one has come, so that a change does not flicker.

const kBlock = 100;
const kMostRequests = 2;
/** Blocks that are kept; the oldest ones beyond it are forgotten. */
const kMostBlocks = 50;

export class RowCache {
  /** `request(from, count)` gives a promise of the host's rows text, or null if it sends none. */
  constructor(request, onChange) {
    this.request = request;
    this.onChange = onChange;
    this.blocks = new Map();
    this.asked = new Set();
    this.count = 0;
    this.revision = -1;
    this.range = [0, 0];
  }

  setShape(count, revision) {
    // A revision that goes back is that of another matrix under the same name.
    if (revision < this.revision) this.blocks.clear();
    this.count = count;
    this.revision = revision;
  }

  /** Returns a row, from 0, or undefined while it is on its way. */
  row(index) {
    return this.blocks.get(Math.floor(index / kBlock))?.rows[index % kBlock];
  }

  /** True if the row is known as of the matrix's present revision, or of the one that follows. */
  isFresh(index) {
    const block = this.blocks.get(Math.floor(index / kBlock));
    return block !== undefined && block.revision >= this.revision;
  }

  /** Asks for the missing blocks of the rows that are visible now; the end is exclusive. */
  want(first, end) {
    this.range = [first, end];
    for (let at = Math.floor(first / kBlock); at * kBlock < Math.min(end, this.count); at += 1) {
      if (!this.needs(at)) continue;
      // What has been scrolled past meanwhile is not asked for when these requests have ended.
      if (this.asked.size >= kMostRequests) return;
      this.ask(at);
    }
  }

  needs(block) {
    return !this.asked.has(block) && !this.isFresh(block * kBlock);
  }

  async ask(block) {
    this.asked.add(block);
    const revision = this.revision;
    // A whole block also where fewer rows are known: the matrix may have grown when this arrives.
    const message = await this.request(block * kBlock + 1, kBlock);
    this.asked.delete(block);
    if (message !== null) this.take(block, message);
    // A matrix that refuses its rows is not asked again until it has changed.
    else if (revision === this.revision) this.take(block, new Map([["rows", []]]));
    this.want(...this.range);
  }

  take(block, message) {
    const rows = message.get("rows");
    this.blocks.delete(block);
    this.blocks.set(block, { rows, revision: message.get("revision") ?? this.revision });
    if (this.blocks.size > kMostBlocks) this.blocks.delete(this.blocks.keys().next().value);
    this.onChange();
  }
}
