class A<T> extends B<C> implements D, E<F> {
    List<String> names;
    java.util.Map<K, V> map;
    int f(G[] g) throws H { return (I) new J<>(); }
    @Marker L<M<N>> l;
}
