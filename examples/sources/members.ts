import type { Account } from "./account";
import { EventEmitter } from "node:events";

export type MemberId = string;

/** What the desk knows of a member. */
export interface Member {
  id: MemberId;
  name: string;
  born?: Date;
}

export enum Standing {
  Good,
  Warned,
  Suspended,
}

/** Keeps the members and tells when one joins. */
export class Members extends EventEmitter {
  private readonly byId = new Map<MemberId, Member>();

  /** Adds a member; the number must be new. */
  join(member: Member): void {
    if (this.byId.has(member.id)) {
      throw new Error(`number ${member.id} is taken`);
    }
    this.byId.set(member.id, member);
    this.emit("joined", member);
  }

  standing(account: Account): Standing {
    return account.overdue.length > 2 ? Standing.Suspended : Standing.Good;
  }
}
