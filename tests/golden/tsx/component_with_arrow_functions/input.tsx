type Props = { title: string };

export function Card({ title }: Props) {
  const onClick = (event: MouseEvent) => log(event);
  return <Button onClick={e => onClick(e)} style={{ color: "red" }}>{title}</Button>;
}
