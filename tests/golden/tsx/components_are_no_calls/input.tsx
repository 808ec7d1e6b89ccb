const a = <Card title={t.title} on={this.run} />;
const b = <ns.Item>{render(a)}</ns.Item>;
const c: Props<Row> = make<Row>();
