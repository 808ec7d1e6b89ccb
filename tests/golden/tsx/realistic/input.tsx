import React, { useState } from "react";
import { Item } from "./item";

type Props = {
  items: Item[];
  onPick?: (item: Item) => void;
};

interface State {
  open: boolean;
}

/** One row of the list. */
function Row({ item, onPick }: { item: Item; onPick: Props["onPick"] }) {
  return <li onClick={() => onPick?.(item)}>{item.title.trim()}</li>;
}

export default class List extends React.Component<Props, State> {
  state = { open: false };

  /** Opens and closes. */
  toggle() {
    this.setState({ open: !this.state.open });
  }

  render() {
    if (!this.state.open) return null;
    return (
      <ul className="list">
        {this.props.items.map(item => <Row key={item.id} item={item} onPick={this.props.onPick} />)}
      </ul>
    );
  }
}

export const Counter = () => {
  const [count, setCount] = useState<number>(0);
  return <button onClick={() => setCount(count + 1)}>{count}</button>;
};
