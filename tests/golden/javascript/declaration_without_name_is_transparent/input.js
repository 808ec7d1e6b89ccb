export default class {
  method() {}
}

const run = () => {
  function inside() {}
};
