import React, { useState, type ReactNode } from "react";
import * as Layout from "./layout";

interface Props<T> { items: T[]; render?: (item: T) => ReactNode; }

/** One row of a list. */
export const Row: React.FC<Props<string>> = ({ items, render }) => {
  const [open, setOpen] = useState<boolean>(false);
  const toggle = () => setOpen(!open);
  return <li onClick={toggle}>{items.map((item) => render?.(item) ?? <Layout.Cell<string> key={item} />)}</li>;
};

const Memo = React.memo(function MemoRow(props: Props<number>) { return <Row items={[]} {...props} />; });

export class Table extends React.Component<Props<Item>, { open: boolean }> {
  static defaultProps = { items: [] as Item[] };
  state = { open: false };
  private close = () => this.setState({ open: false });

  /** Draws it. */
  render() {
    const { items } = this.props;
    return <><Memo items={[1]} /><Layout.Panel onClose={this.close} header={<b>{title(items)}</b>} /></>;
  }
}

/** The page. */
export default function Page({ children }: { children: ReactNode }) {
  return <Table items={[]}>{children}</Table>;
}

Page.title = function () { return "Page"; };
export const withPage = <P extends object>(Inner: React.ComponentType<P>) => (props: P) => <Page><Inner {...props} /></Page>;
