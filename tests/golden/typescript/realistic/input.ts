import { Injectable } from "./di";
import type { Logger } from "./log";

export type Id = string | number;

/** Where users are kept. */
export interface UserStore<T extends User> {
  find(id: Id): Promise<T | undefined>;
}

enum Role { Guest, Admin = 10 }

interface User {
  id: Id;
  role: Role;
}

@Injectable()
export class Users implements UserStore<User> {
  private readonly byId = new Map<Id, User>();

  constructor(private log: Logger) {}

  /**
   * Looks a user up.
   * @param id never empty
   */
  async find(id: Id): Promise<User | undefined> {
    const user = this.byId.get(id);
    if (!user) this.log.warn(`no user ${id}`);
    return user;
  }

  protected isAdmin = (user: User) => user.role === Role.Admin;
}

function assertUser(value: unknown): asserts value is User {
  if (typeof value !== "object") throw new TypeError("no user");
}
