export interface Shape {}
export type Size = number;
export enum Color {}
export abstract class Base { draw() {} }
interface Hidden {}
export namespace Tools {
  function inside() {}
}
module Old {
  export class Legacy {}
  class Closed {}
}
export default interface Main {}
